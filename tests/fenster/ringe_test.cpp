// The year-ring layout, its hit test and the small display helpers.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "app/fenster/anzeige.hpp"
#include "app/modell/typen.hpp"
#include "app/fenster/jahresringe.hpp"

namespace hainbrem::test {
namespace {

using namespace jahresringe;

Knoten::Zeiger knoten(const std::string& name, int64_t bytes, std::vector<Knoten::Zeiger> kinder = {}) {
    auto k = std::make_shared<Knoten>(name, "/" + name, !kinder.empty());
    k->bytes = bytes;
    k->kinder = std::move(kinder);
    return k;
}

TEST(Jahresringe, NullBytesUndEineEbene) {
    EXPECT_TRUE(segmente(*knoten("leer", 0, {knoten("a", 0)}), 10).empty());
    const auto mitte = knoten("m", 100, {knoten("a", 60, {knoten("a1", 60)}), knoten("b", 40)});
    const auto s = segmente(*mitte, 1);
    ASSERT_EQ(s.size(), 2u);
    EXPECT_EQ(s[0].knoten->name, "a");
    EXPECT_DOUBLE_EQ(s[0].von, -pi / 2);
    EXPECT_DOUBLE_EQ(s[1].bis, 3 * pi / 2);
}

TEST(Jahresringe, GrosseKinderBehaltenIhrenBogenTiefeZuerst) {
    const auto enkel1 = knoten("e1", 600), enkel2 = knoten("e2", 399);
    const auto gross = knoten("gross", 999, {enkel1, enkel2});
    const auto mitte = knoten("m", 1000, {gross, knoten("klein", 1)});
    const auto s = segmente(*mitte, 10);
    ASSERT_EQ(s.size(), 3u);  // the 0.1 % child is a sliver
    EXPECT_EQ(s[0].knoten, gross);
    EXPECT_NEAR(s[0].bis - s[0].von, 0.999 * 2 * pi, 1e-12);
    EXPECT_EQ(s[1].ebene, 2);
    EXPECT_DOUBLE_EQ(s[1].von, s[0].von);
    EXPECT_NEAR(s[2].bis, s[0].bis, 1e-12);  // the children fill exactly the parent's arc
}

TEST(Jahresringe, SchmaleBoegenEndenDenRing) {
    // on ring e a child must be wider than e × 0.003 + 0.004 radians
    for (const auto& [ebene, grenze] : {std::pair{1, 0.007}, std::pair{10, 0.034}}) {
        for (const double faktor : {0.999, 1.001}) {
            const int64_t gesamt = 10'000'000;
            const auto schmal = static_cast<int64_t>(std::llround(grenze * faktor / (2 * pi) * gesamt));
            // a chain of single children leads down to ring `ebene`, each filling its parent
            auto tief = knoten("x", gesamt, {knoten("gross", gesamt - 2 * schmal), knoten("schmal", schmal),
                                             knoten("kleiner", schmal)});
            for (int i = 1; i < ebene; ++i) tief = knoten("k" + std::to_string(i), gesamt, {tief});
            const auto s = segmente(*tief, ebene);
            const size_t aufRing = static_cast<size_t>(std::count_if(
                s.begin(), s.end(), [&](const Segment& x) { return x.ebene == ebene; }));
            EXPECT_EQ(aufRing, faktor > 1 ? 3u : 1u) << "Ring " << ebene << " Faktor " << faktor;
        }
    }
}

TEST(Jahresringe, JedeSegmentmitteTrifftIhrSegment) {
    std::mt19937 zufall(7);
    std::function<Knoten::Zeiger(int, int)> baum = [&](int tiefe, int nummer) {
        std::vector<Knoten::Zeiger> kinder;
        int64_t summe = 0;
        if (tiefe < 5)
            for (int i = 0; i < 1 + static_cast<int>(zufall() % 5); ++i) {
                kinder.push_back(baum(tiefe + 1, i));
                summe += kinder.back()->bytes;
            }
        std::sort(kinder.begin(), kinder.end(), [](auto& a, auto& b) { return a->bytes > b->bytes; });
        return knoten("n" + std::to_string(tiefe) + "-" + std::to_string(nummer),
                      summe + 1 + static_cast<int64_t>(zufall() % 5000), std::move(kinder));
    };
    const auto mitte = baum(0, 0);
    const Mass m = massFuer(700, 500, 6);
    const auto s = segmente(*mitte, 6);
    ASSERT_GT(s.size(), 20u);
    for (size_t i = 0; i < s.size(); ++i) {
        const auto [x, y] = mitteVon(s[i], m);
        EXPECT_EQ(treffer(s, m, x, y), std::optional<size_t>(i)) << s[i].knoten->name;
    }
    EXPECT_FALSE(treffer(s, m, m.mx, m.my));         // the centre disc
    EXPECT_FALSE(treffer(s, m, m.mx + 349, m.my + 249));  // outside every ring
    EXPECT_EQ(beschriftung(*knoten("Library", 1'500'000)), "Speicherkarte von Library, 1,5 MB");
}

TEST(Anzeige, KurzpfadVorWannUndAnzahl) {
    for (const auto& [pfad, home, kurz] : std::vector<std::tuple<std::string, std::string, std::string>>{
             {"/home/anna/Library/Caches", "/home/anna", "~/Library/Caches"},
             {"/home/anna", "/home/anna/", "~"},
             {"/home/annabell/x", "/home/anna", "/home/annabell/x"},
             {"/usr/lib", "/", "/usr/lib"}})
        EXPECT_EQ(anzeige::kurzpfad(pfad, home), kurz) << pfad;
    const Zeitpunkt jetzt{std::chrono::hours(24 * 20000)};
    for (const auto& [sekunden, text] : std::vector<std::pair<int64_t, std::string>>{
             {-50, "gerade eben"},        {59, "gerade eben"},     {60, "vor 1 Minute"},
             {7200, "vor 2 Stunden"},     {86'400, "gestern"},     {3 * 86'400, "vor 3 Tagen"},
             {15 * 86'400, "vor 2 Wochen"}, {90 * 86'400, "vor 3 Monaten"}, {800 * 86'400, "vor 2 Jahren"}})
        EXPECT_EQ(anzeige::vorWann(jetzt - std::chrono::seconds(sekunden), jetzt), text) << sekunden;
    EXPECT_EQ(anzeige::vorWann(std::nullopt, jetzt), "–");
    for (const auto& [n, text] : std::vector<std::pair<int64_t, std::string>>{
             {0, "0 Funde"}, {1, "1 Fund"}, {2, "2 Funde"}, {1204, "1.204 Funde"}})
        EXPECT_EQ(anzahl(n, "Fund", "Funde"), text) << n;
    // sizes and commands are never broken in two
    const std::string fest = "\u00A0";
    for (const auto& [text, ohne] : std::vector<std::pair<std::string, std::string>>{
             {"zurzeit 1,14 GB. Du", "zurzeit 1,14" + fest + "GB. Du"},
             {"100 Byte, 3 KB und 2 MB", "100" + fest + "Byte, 3" + fest + "KB und 2" + fest + "MB"},
             {"12 Gruppen, 3 GBit", "12 Gruppen, 3 GBit"},
             {"Version 2 Mac", "Version 2 Mac"}})
        EXPECT_EQ(anzeige::ohneUmbruch(text), ohne) << text;
    EXPECT_EQ(anzeige::befehlAmStueck("journalctl --vacuum-size=500M"),
              "journalctl" + fest + "-\u2060-\u2060vacuum-\u2060size=500M");
}

}  // namespace
}  // namespace hainbrem::test
