#pragma once
// The storage map as year rings: the layout of the arcs and the way back from a point to an arc.
// Angles are radians in screen coordinates (y down): −π/2 is the top, growing clockwise.
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "kern/tiefenscan.hpp"

namespace hainbrem::jahresringe {

inline constexpr double pi = 3.14159265358979323846;

struct Segment {
    Knoten::Zeiger knoten;
    int ebene = 1;  // 1 = innermost ring
    double von = 0, bis = 0;
};

// The rings around `mitte` down to ring `ebenen`, depth first: every segment is followed by
// those of its own children. A child narrower than ebene × 0.003 + 0.004 radians ends its
// ring there, with every smaller sibling.
std::vector<Segment> segmente(const Knoten& mitte, int ebenen);

// Where the rings lie: the centre disc's radius and each ring's width.
struct Mass {
    double mx = 0, my = 0;  // centre
    double innen = 0;       // radius of the centre disc = inner radius of ring 1
    double breite = 1;      // width of one ring
    double innenRadius(int ebene) const { return innen + (ebene - 1) * breite; }
};
// Fits `ebenen` rings and a centre disc into a w × h box.
Mass massFuer(double w, double h, int ebenen);

// The segment under the point: ring from the distance to the centre, arc from the angle
// measured from −π/2 in the layout's sense. Nothing in the centre disc, outside the rings or
// in an empty part of a ring.
std::optional<size_t> treffer(const std::vector<Segment>& segmente, const Mass& mass, double x, double y);

// The middle of a segment (half way along its arc, half way across its ring).
std::pair<double, double> mitteVon(const Segment& s, const Mass& mass);

// What assistive technology reads for the whole chart.
std::string beschriftung(const Knoten& mitte);

}  // namespace hainbrem::jahresringe
