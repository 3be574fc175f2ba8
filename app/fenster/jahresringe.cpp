#include "app/fenster/jahresringe.hpp"

#include <algorithm>
#include <cmath>

#include "kern/format.hpp"

namespace hainbrem::jahresringe {

namespace {

void lege(const Knoten& knoten, int ebene, double von, double bis, int ebenen, std::vector<Segment>& aus) {
    if (ebene > ebenen || knoten.bytes < 1) return;
    double start = von;
    for (const auto& kind : knoten.kinder) {
        const double span =
            (bis - von) * static_cast<double>(kind->bytes) / static_cast<double>(knoten.bytes);
        // outer rings are longer, so their minimum width grows with them
        if (!(span > ebene * 0.003 + 0.004)) break;
        aus.push_back({kind, ebene, start, start + span});
        lege(*kind, ebene + 1, start, start + span, ebenen, aus);
        start += span;
    }
}

}  // namespace

std::vector<Segment> segmente(const Knoten& mitte, int ebenen) {
    std::vector<Segment> aus;
    lege(mitte, 1, -pi / 2, 3 * pi / 2, ebenen, aus);
    return aus;
}

Mass massFuer(double w, double h, int ebenen) {
    Mass m;
    m.mx = w / 2;
    m.my = h / 2;
    const double radius = std::max(1.0, std::min(w, h) / 2 - 4);
    // the centre disc takes as much as one and a half rings, so its label fits
    m.breite = radius / (ebenen + 1.5);
    m.innen = 1.5 * m.breite;
    return m;
}

std::optional<size_t> treffer(const std::vector<Segment>& segmente, const Mass& mass, double x, double y) {
    const double dx = x - mass.mx, dy = y - mass.my;
    const double abstand = std::hypot(dx, dy);
    if (abstand < mass.innen || mass.breite <= 0) return std::nullopt;
    const int ebene = static_cast<int>(std::floor((abstand - mass.innen) / mass.breite)) + 1;
    double winkel = std::atan2(dy, dx);  // −π … π, the layout runs from −π/2 to 3π/2
    if (winkel < -pi / 2) winkel += 2 * pi;
    for (size_t i = 0; i < segmente.size(); ++i) {
        const Segment& s = segmente[i];
        if (s.ebene == ebene && winkel >= s.von && winkel < s.bis) return i;
    }
    return std::nullopt;
}

std::pair<double, double> mitteVon(const Segment& s, const Mass& mass) {
    const double r = mass.innenRadius(s.ebene) + mass.breite / 2;
    const double w = (s.von + s.bis) / 2;
    return {mass.mx + r * std::cos(w), mass.my + r * std::sin(w)};
}

std::string beschriftung(const Knoten& mitte) { return "Speicherkarte von " + mitte.name + ", " + alsBytes(mitte.bytes); }

}  // namespace hainbrem::jahresringe
