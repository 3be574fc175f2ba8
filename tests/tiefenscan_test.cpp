#include "kern/tiefenscan.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <sstream>
#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>
#include <tuple>

#include "kern/verlauf.hpp"
#include "plattform/scan.hpp"
#include "testordner.hpp"

namespace hainbrem {
namespace {

using test::Testordner;
constexpr int64_t block = 4096;

// A file with `belegt` allocated bytes (a multiple of the block size) and `laenge` logical bytes.
fs::path belegteDatei(const fs::path& p, int64_t belegt, int64_t laenge = -1) {
    fs::create_directories(p.parent_path());
    const int fd = ::open(p.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    EXPECT_GE(fd, 0) << p;
    if (belegt > 0) {
        EXPECT_EQ(::fallocate(fd, 0, 0, belegt), 0) << p;
    }
    if (laenge >= 0) {
        EXPECT_EQ(::ftruncate(fd, laenge), 0);
    }
    ::close(fd);
    return p;
}

// Logical length only: one block at the start, the rest a hole.
fs::path duenneDatei(const fs::path& p, int64_t laenge) {
    fs::create_directories(p.parent_path());
    const int fd = ::open(p.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    EXPECT_EQ(::write(fd, "x", 1), 1);
    EXPECT_EQ(::ftruncate(fd, laenge), 0);
    ::close(fd);
    return p;
}

int64_t belegtLaut(const fs::path& p) {
    struct stat st {};
    ::lstat(p.c_str(), &st);
    return st.st_blocks * 512;
}

int64_t duSumme(const fs::path& p) { return std::stoll(test::laufe("du -sxB1 '" + p.native() + "'")); }

// Every node holds at least its children, the kept children are sorted and capped.
void pruefeBaum(const Knoten& k) {
    int64_t summe = 0;
    for (size_t i = 0; i < k.kinder.size(); ++i) {
        summe += k.kinder[i]->bytes;
        if (i > 0) {
            EXPECT_GE(k.kinder[i - 1]->bytes, k.kinder[i]->bytes) << k.pfad;
        }
        pruefeBaum(*k.kinder[i]);
    }
    EXPECT_GE(k.bytes, summe) << k.pfad;
    EXPECT_LE(k.kinder.size(), Tiefenscan::maxKinder);
}

bool enthaelt(const std::vector<DateiInfo>& liste, const fs::path& p) {
    return std::any_of(liste.begin(), liste.end(), [&](const DateiInfo& d) { return d.pfad == p.native(); });
}

class TiefenscanGrenzen : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        ordner = new Testordner;
        const fs::path h = ordner->pfad() / "anna";
        // around the node and large-file limits: allocation comes in whole blocks
        belegteDatei(h / "Filme/ueber20.bin", 4883 * block);   // 20,000,768
        belegteDatei(h / "Filme/unter20.bin", 4882 * block);   // 19,996,672
        belegteDatei(h / "Filme/ueber50.bin", 12208 * block);  // 50,003,968
        belegteDatei(h / "Filme/unter50.bin", 12207 * block);  // 49,999,872
        duenneDatei(h / "Dokumente/genau1mb.bin", 1'000'000);
        duenneDatei(h / "Dokumente/knapp1mb.bin", 999'999);
        belegteDatei(h / "Dokumente/nurLoch.bin", 0, 5'000'000);  // no block at all
        belegteDatei(h / "Library/Caches/gross.bin", 600 * block, 2'400'000);
        duenneDatei(h / "direkt.bin", 3'000'000);  // straight in home
        belegteDatei(h / "Programme/Foto.app/Contents/Resources/bild.bin", 14650 * block);
        duenneDatei(h / "Programme/Foto.app/Contents/klein.bin", 2'000'000);
        belegteDatei(h / "Bilder/Fotos.PHOTOSLIBRARY/originals/a.heic", 300 * block);
        belegteDatei(h / "Verlinkt/a.bin", 6000 * block);
        fs::create_hard_link(h / "Verlinkt/a.bin", h / "Verlinkt/b.bin");
        fs::create_hard_link(h / "Verlinkt/a.bin", h / "Filme/c.bin");  // in another branch
        Steuerung f;
        ergebnis = new TiefenscanErgebnis(Tiefenscan::scanne(h, true, &f));
        dateienGezaehlt = f.erledigt.load();
    }
    static void TearDownTestSuite() {
        delete ergebnis;
        delete ordner;
    }
    static fs::path home() { return ordner->pfad() / "anna"; }
    static Knoten::Zeiger knoten(const std::string& rel) {
        return Knoten::finde(ergebnis->wurzel, (home() / rel).native());
    }

    static inline Testordner* ordner = nullptr;
    static inline TiefenscanErgebnis* ergebnis = nullptr;
    static inline int64_t dateienGezaehlt = 0;
};

TEST_F(TiefenscanGrenzen, SummeGleichDuUndBaumStimmig) {
    ASSERT_TRUE(ergebnis->wurzel);
    EXPECT_EQ(ergebnis->wurzel->bytes, duSumme(home()));  // hard links once, across branches too
    EXPECT_EQ(ergebnis->wurzel->dateien, dateienGezaehlt);
    EXPECT_FALSE(ergebnis->ganzePlatte);
    EXPECT_EQ(ergebnis->unlesbar, 0);
    EXPECT_TRUE(ergebnis->ausgelassen.empty());
    pruefeBaum(*ergebnis->wurzel);
}

TEST_F(TiefenscanGrenzen, KnotenUndGrosseAnDenGrenzen) {
    // allocation comes in whole blocks: the nearest sizes on either side of each limit
    struct Fall {
        const char* rel;
        int64_t belegt;
        bool knoten;
        bool gross;
    };
    const Fall faelle[] = {
        {"Filme/ueber20.bin", 20'000'768, true, false},
        {"Filme/unter20.bin", 19'996'672, false, false},
        {"Filme/ueber50.bin", 50'003'968, true, true},
        {"Filme/unter50.bin", 49'999'872, true, false},
        {"Programme/Foto.app/Contents/Resources/bild.bin", 60'006'400, false, false},  // inside a package
    };
    for (const auto& f : faelle) {
        SCOPED_TRACE(f.rel);
        ASSERT_EQ(belegtLaut(home() / f.rel), f.belegt);
        EXPECT_EQ(knoten(f.rel) != nullptr, f.knoten);
        EXPECT_EQ(enthaelt(ergebnis->grosse, home() / f.rel), f.gross);
    }
    EXPECT_EQ(ergebnis->grosse.size(), 2u);  // the package and ueber50.bin
}

TEST_F(TiefenscanGrenzen, PaketIstEinStueck) {
    const auto app = knoten("Programme/Foto.app");
    ASSERT_TRUE(app);
    EXPECT_TRUE(app->istPaket);
    EXPECT_TRUE(app->kinder.empty());
    EXPECT_EQ(app->dateien, 2);
    EXPECT_EQ(app->bytes, duSumme(home() / "Programme/Foto.app"));
    ASSERT_FALSE(ergebnis->grosse.empty());
    const DateiInfo& erstes = ergebnis->grosse.front();  // the largest first
    EXPECT_EQ(erstes.pfad, (home() / "Programme/Foto.app").native());
    EXPECT_TRUE(erstes.istPaket);
    EXPECT_EQ(erstes.groesse, app->bytes);
    EXPECT_EQ(erstes.belegt, app->bytes);
    for (size_t i = 1; i < ergebnis->grosse.size(); ++i)
        EXPECT_GE(ergebnis->grosse[i - 1].belegt, ergebnis->grosse[i].belegt);
    const auto bib = knoten("Bilder/Fotos.PHOTOSLIBRARY");
    ASSERT_TRUE(bib);
    EXPECT_TRUE(bib->istPaket);  // the extension is compared lower-cased
    EXPECT_TRUE(bib->kinder.empty());
}

TEST_F(TiefenscanGrenzen, KandidatenNurImHomeAusserhalbVonLibrary) {
    struct Fall {
        const char* rel;
        bool kandidat;
    };
    const Fall faelle[] = {
        {"Dokumente/genau1mb.bin", true},
        {"Dokumente/knapp1mb.bin", false},  // 999,999 logical bytes
        {"Dokumente/nurLoch.bin", false},   // no allocated byte
        {"Library/Caches/gross.bin", false},
        {"direkt.bin", true},
        {"Programme/Foto.app/Contents/klein.bin", false},
        {"Filme/ueber50.bin", true},
    };
    for (const auto& f : faelle)
        EXPECT_EQ(enthaelt(ergebnis->kandidaten, home() / f.rel), f.kandidat) << f.rel;
    // the three links to one file: counted once in bytes, each a candidate path
    for (const auto& d : ergebnis->kandidaten) {
        EXPECT_GE(d.groesse, Tiefenscan::kandidatAb);
        EXPECT_GE(d.belegt, 1);
        EXPECT_FALSE(d.istPaket);
    }
}

// One walk of a subtree with fresh state.
struct Gang {
    Tiefenscan::Lauf lauf;
    Tiefenscan::Sammler sammler;
    Steuerung f;
    Knoten::Zeiger operator()(const fs::path& p) { return Tiefenscan::walk(p.native(), lauf, sammler, f); }
};

TEST(Tiefenscan, DreihundertKinderAberAllesGezaehlt) {
    Testordner t;
    const fs::path viele = t.pfad() / "viele";
    for (int i = 0; i < 400; ++i)
        belegteDatei(viele / ("o" + std::to_string(i)) / "f", (i < 100 ? 245 : 246) * block);
    Gang gang;
    const auto k = gang(viele);
    ASSERT_TRUE(k);
    EXPECT_EQ(k->kinder.size(), 300u);
    EXPECT_EQ(k->bytes, duSumme(viele));
    EXPECT_EQ(k->dateien, 400);
    EXPECT_GT(k->kleinkram(), 0);  // the 100 that were left out
    for (const auto& c : k->kinder) EXPECT_EQ(c->bytes, 246 * block + belegtLaut(viele / "o0"));
    EXPECT_EQ(gang.f.erledigt.load(), 400);
    EXPECT_EQ(gang.f.bytes.load(), k->bytes);
}

TEST(Tiefenscan, HardlinksEinmalDateiAlsWurzelUnlesbareWurzel) {
    Testordner t;
    const fs::path o = t.pfad() / "o";
    belegteDatei(o / "a", 6000 * block);
    fs::create_hard_link(o / "a", o / "b");
    Gang gang;
    const auto k = gang(o);
    ASSERT_TRUE(k);
    EXPECT_EQ(k->bytes, 6000 * block + belegtLaut(o));
    EXPECT_EQ(k->dateien, 2);
    EXPECT_EQ(k->kinder.size(), 1u);  // the second name adds 0 bytes and is no node

    const auto d = gang(belegteDatei(t.pfad() / "d.bin", 20 * block));
    ASSERT_TRUE(d);
    EXPECT_FALSE(d->istOrdner);
    EXPECT_EQ(d->bytes, 20 * block);
    EXPECT_FALSE(gang(t.pfad() / "fehlt"));
    EXPECT_EQ(gang.sammler.unlesbar, 1);
}

TEST(Tiefenscan, OhneVollzugriffWerdenContainerAusgelassen) {
    Testordner t;
    const fs::path h = t.pfad() / "h";
    belegteDatei(h / "Library/Containers/com.x/Data/gross.bin", 300 * block);
    belegteDatei(h / "Library/Group Containers/g/gross.bin", 300 * block);
    belegteDatei(h / "Dokumente/x", block);
    const auto ohne = Tiefenscan::scanne(h, false);
    const std::vector<std::string> erwartet{(h / "Library/Containers").native(), (h / "Library/Group Containers").native(),
                                            (h / "Library/Daemon Containers").native()};
    EXPECT_EQ(ohne.ausgelassen, erwartet);
    const auto mit = Tiefenscan::scanne(h, true);
    EXPECT_TRUE(mit.ausgelassen.empty());
    EXPECT_EQ(mit.wurzel->bytes, duSumme(h));
    // the two container folders with their contents are missing, nothing else
    EXPECT_EQ(mit.wurzel->bytes - ohne.wurzel->bytes,
              duSumme(h / "Library/Containers") + duSumme(h / "Library/Group Containers"));
}

TEST(Tiefenscan, AbbruchGibtStimmigenTeilbaum) {
    Testordner t;
    const fs::path h = t.pfad() / "h";
    for (int a = 0; a < 30; ++a)
        for (int b = 0; b < 8; ++b) {
            const fs::path o = h / ("a" + std::to_string(a)) / ("b" + std::to_string(b));
            fs::create_directories(o);
            for (int c = 0; c < 40; ++c) ::close(::open((o / std::to_string(c)).c_str(), O_CREAT | O_WRONLY, 0644));
        }
    belegteDatei(h / "a0/gross.bin", 5000 * block);
    const auto ganz = Tiefenscan::scanne(h, true);
    ASSERT_TRUE(ganz.wurzel);
    EXPECT_EQ(ganz.wurzel->bytes, duSumme(h));

    // stopped as soon as the first progress arrives, and stopped before the start
    for (const bool sofort : {false, true}) {
        SCOPED_TRACE(sofort);
        std::stop_source stopp;
        Steuerung f(stopp.get_token());
        if (sofort) stopp.request_stop();
        std::jthread waechter([&](std::stop_token ende) {
            while (!ende.stop_requested() && f.erledigt.load() == 0) std::this_thread::yield();
            stopp.request_stop();
        });
        const auto teil = Tiefenscan::scanne(h, true, &f);
        waechter.request_stop();
        if (!teil.wurzel) continue;  // nothing was looked at
        pruefeBaum(*teil.wurzel);
        EXPECT_LE(teil.wurzel->bytes, ganz.wurzel->bytes);
        EXPECT_LE(teil.wurzel->dateien, ganz.wurzel->dateien);
    }
}

TEST(Tiefenscan, UnlesbarerOrdnerAlsNobody) {
    if (!test::kannAlsNobodyLaufen()) GTEST_SKIP() << "braucht root und setpriv, um als nobody zu lesen";
    Testordner t;
    const fs::path h = t.pfad() / "h";
    belegteDatei(h / "offen/a", 300 * block);
    belegteDatei(h / "zu/innen/b", 300 * block);
    fs::permissions(t.pfad(), fs::perms::all);
    for (const auto& e : fs::recursive_directory_iterator(h)) ::chmod(e.path().c_str(), e.is_directory() ? 0755 : 0644);
    ::chmod(h.c_str(), 0755);
    ::chmod((h / "zu").c_str(), 0700);
    int status = 0;
    const std::string aus = test::laufe("setpriv --reuid=nobody --regid=nogroup --clear-groups " +
                                            std::string(HAINBREM_BINARY) + " --json scan '" + h.native() + "'",
                                        &status);
    ASSERT_EQ(status, 0) << aus;
    const auto j = nlohmann::json::parse(aus);
    EXPECT_EQ(j["unlesbar"], 1);
    EXPECT_TRUE(j["wurzel"]["unvollstaendig"]);
    EXPECT_EQ(j["wurzel"]["pfad"], h.native());
    const auto& kinder = j["wurzel"]["kinder"];
    const auto offen = std::find_if(kinder.begin(), kinder.end(), [](const auto& k) { return k["name"] == "offen"; });
    ASSERT_NE(offen, kinder.end());
    EXPECT_FALSE((*offen)["unvollstaendig"]);
}

TEST(Knoten, DazuKleinkramWegUndFinde) {
    auto w = std::make_shared<Knoten>("w", "/w", true);
    auto a = std::make_shared<Knoten>("a", "/w/a", true);
    auto b = std::make_shared<Knoten>("b", "/w/a/b", false);
    b->bytes = 30;
    b->dateien = 1;
    a->bytes = 10;
    a->dazu(b);
    a->unvollstaendig = true;
    w->dazu(a);
    w->bytes += 5;
    EXPECT_EQ(w->bytes, 45);
    EXPECT_EQ(w->dateien, 1);
    EXPECT_TRUE(w->unvollstaendig);
    EXPECT_EQ(w->kleinkram(), 5);
    EXPECT_EQ(a->kleinkram(), 10);
    const auto weg = w->weg("/w/a/b");
    ASSERT_TRUE(weg);
    ASSERT_EQ(weg->size(), 2u);
    EXPECT_EQ((*weg)[0], a);
    EXPECT_EQ((*weg)[1], b);
    EXPECT_TRUE(w->weg("/w")->empty());
    EXPECT_FALSE(w->weg("/w/x"));
    EXPECT_EQ(Knoten::finde(w, "/w/a/b"), b);
    EXPECT_EQ(Knoten::finde(w, "/w"), w);
    EXPECT_EQ(Knoten::finde(w, "/anders"), nullptr);
}

// A round changes the tree the map shows: what went is dropped, the Trash holds what went there,
// an undo puts it back; the tree the views still hold stays as it was.
TEST(Knoten, NachUmzugOhneEntferntesMitPapierkorb) {
    auto ordner = [](const std::string& pfad, int64_t eigen, std::vector<Knoten::Zeiger> kinder) {
        auto k = std::make_shared<Knoten>(pfad.substr(pfad.rfind('/') + 1), pfad, true);
        k->bytes = eigen;
        k->dateien = 1;
        for (auto& c : kinder) k->dazu(c);
        k->sortiere();
        return k;
    };
    const auto spotify = ordner("/h/.cache/spotify", 60, {});
    const auto cache = ordner("/h/.cache", 10, {spotify, ordner("/h/.cache/thumbnails", 30, {})});
    const auto iso = std::make_shared<Knoten>("big.iso", "/h/Downloads/big.iso", false);
    iso->bytes = 40;
    iso->dateien = 1;
    const auto downloads = ordner("/h/Downloads", 10, {iso});
    const auto local = ordner("/h/.local", 5, {});
    const auto wurzel = ordner("/h", 1, {cache, downloads, local});
    ASSERT_EQ(wurzel->bytes, 156);

    Runde r;
    r.posten = {Posten{"/h/.cache/spotify", 60, Entsorgung::loeschen, std::nullopt, std::nullopt, false},
                Posten{"/h/.cache/klein", 4, Entsorgung::loeschen, std::nullopt, std::nullopt, false},
                Posten{"/h/Downloads/big.iso", 40, Entsorgung::papierkorb, "/h/.local/share/Trash/files/big.iso",
                       std::nullopt, false},
                Posten{"/h/.cache/thumbnails", 30, Entsorgung::loeschen, std::nullopt, "Läuft gerade", false},
                Posten{"/tmp/alt", 7, Entsorgung::loeschen, std::nullopt, std::nullopt, false}};
    const auto nach = Tiefenscan::nachUmzug(wurzel, Tiefenscan::umzuege(r));
    ASSERT_NE(nach, wurzel);
    struct Fall {
        std::string pfad;
        std::optional<int64_t> vorher, nachher;  // absent: no node
    };
    const std::vector<Fall> faelle{
        {"/h", 156, 156 - 60 - 4},           // the Trash item only moved, the temp folder is not in the tree
        {"/h/.cache", 100, 100 - 60 - 4},    // a node that went, and the small one from its own rest
        {"/h/.cache/spotify", 60, std::nullopt},
        {"/h/.cache/thumbnails", 30, 30},    // failed: stays
        {"/h/Downloads", 50, 10},
        {"/h/Downloads/big.iso", 40, std::nullopt},
        {"/h/.local", 5, 45},                // the Trash is inside it
    };
    for (const auto& f : faelle) {
        const auto alt = Knoten::finde(wurzel, f.pfad), neu = Knoten::finde(nach, f.pfad);
        EXPECT_EQ(alt ? std::optional(alt->bytes) : std::nullopt, f.vorher) << f.pfad;
        EXPECT_EQ(neu ? std::optional(neu->bytes) : std::nullopt, f.nachher) << f.pfad;
    }
    EXPECT_EQ(Knoten::finde(nach, "/h/.cache")->kinder.size(), 1u);
    EXPECT_EQ(Knoten::finde(nach, "/h/.cache/thumbnails"), Knoten::finde(wurzel, "/h/.cache/thumbnails"))
        << "was sich nicht ändert, wird geteilt";

    // undo: the Trash item back in its place, as a part of the folder's small things
    Runde zurueck = r;
    zurueck.posten[2].zurueckgelegt = true;
    const auto umzug = Tiefenscan::umzuege(r, zurueck);
    ASSERT_EQ(umzug, (std::vector<Tiefenscan::Umzug>{{"/h/.local/share/Trash/files/big.iso", "/h/Downloads/big.iso", 40}}));
    const auto wieder = Tiefenscan::nachUmzug(nach, umzug);
    EXPECT_EQ(Knoten::finde(wieder, "/h/.local")->bytes, 5);
    EXPECT_EQ(Knoten::finde(wieder, "/h/Downloads")->bytes, 50);
    EXPECT_EQ(wieder->bytes, 156 - 60 - 4);
    EXPECT_EQ(Tiefenscan::nachUmzug(wieder, {}), wieder);
    EXPECT_TRUE(Tiefenscan::umzuege(zurueck, zurueck).empty());
}

// The Linux disk as a tree: one file system is the first ring itself, several are each a node;
// what no walk sees is named and the root knows the disk's size.
TEST(Tiefenscan, LinuxPlatteOhneVerschwendetenRing) {
    auto ordner = [](const std::string& pfad, int64_t bytes) {
        auto k = std::make_shared<Knoten>(pfad == "/" ? "/" : pfad.substr(pfad.rfind('/') + 1), pfad, true);
        k->bytes = bytes;
        return k;
    };
    auto lsblk = [](const std::string& name) {
        std::ifstream ein(std::string(HAINBREM_FIXTURES) + "/platte/" + name);
        std::stringstream s;
        s << ein.rdbuf();
        return s.str();
    };
    {
        auto wurzel = ordner("/", 0);
        wurzel->dazu(ordner("/usr", 9'000'000'000));
        wurzel->dazu(ordner("/home", 11'000'000'000));
        const auto platte = Platte::ausLsblk(lsblk("lsblk-reserve.json"), "/home/anna");
        ASSERT_TRUE(platte);
        const auto k = Tiefenscan::linuxPlatte({{"vda", wurzel}}, platte, {270553174016, 81723559936, 81723559936});
        EXPECT_EQ(k->name, "Festplatte");
        EXPECT_EQ(k->platz, 274877906944);
        std::vector<std::string> pfade;
        for (const auto& c : k->kinder) pfade.push_back(c->pfad);
        EXPECT_EQ(pfade, (std::vector<std::string>{"#reserve", "/home", "/usr", "#verwaltung", "#rest"}));
        EXPECT_EQ(k->bytes, 274877906944 - 81723559936);
        for (const auto& c : k->kinder)
            if (c->istVirtuell()) {
                ASSERT_TRUE(c->erklaerung) << c->pfad;
                for (const char* wort : {"Mac", "Festplattenvollzugriff", "Schnappschüsse"})
                    EXPECT_EQ(c->erklaerung->find(wort), std::string::npos) << *c->erklaerung;
            }
    }
    {
        const auto platte = Platte::ausLsblk(lsblk("lsblk-getrennt.json"), "/home/anna");
        ASSERT_TRUE(platte);
        const auto k = Tiefenscan::linuxPlatte({{"nvme0n1p3", ordner("/", 20'000'000'000)},
                                                {"nvme0n1p5", ordner("/home", 300'000'000'000)},
                                                {"nvme0n1p2", ordner("/boot", 268'435'456)}},
                                               platte, {424000000000, 90000000000, 90000000000});
        EXPECT_EQ(k->name, "Samsung SSD 980 PRO 512GB");
        std::vector<std::string> namen;
        for (const auto& c : k->kinder) namen.push_back(c->name);
        EXPECT_EQ(namen, (std::vector<std::string>{"Deine Daten", "System", "Vom Dateisystem zurückgehalten",
                                                    "Verwaltung des Dateisystems", "Auslagerung (Swap)", "Systemstart",
                                                    "Außerhalb der Dateisysteme"}));
        const auto daten = Knoten::finde(k, "/home");
        ASSERT_TRUE(daten);
        EXPECT_EQ(daten->name, "Deine Daten");
        EXPECT_EQ(Knoten::finde(k, "#rest-nvme0n1p5")->bytes, 21'000'000'000) << "was der Lauf nicht las";
    }
}

TEST(Tiefenscan, PaketEndungen) {
    for (const char* n : {"Foto.app", "X.APP", "a.b.framework", "Lied.band", "Bild.PhotosLibrary"})
        EXPECT_TRUE(Tiefenscan::istPaketName(n)) << n;
    for (const char* n : {"app", ".app", "Foto.apps", "Foto.", "foto_app", "a.txt"})
        EXPECT_FALSE(Tiefenscan::istPaketName(n)) << n;
}

// Mount tables read through the platform: escaped blanks, tabs, backslashes and UTF-8 bytes,
// optional fields, broken lines skipped. A file that does not start with an entry, a missing file
// and a folder give no table.
TEST(Tiefenscan, EinhaengeTabelle) {
    using E = std::tuple<std::string, std::string, std::string>;
    const std::string ordner = std::string(HAINBREM_FIXTURES) + "/einhaengungen/";
    const std::pair<std::string, std::vector<E>> faelle[] = {
        {"maskiert.mountinfo",
         {{"/proc", "proc", "proc"},
          {"/", "ext4", "/dev/vda"},
          {"/mnt/mein Stick", "vfat", "/dev/sdb1"},
          {"/mnt/tab\tx", "tmpfs", "none"},
          {"/media/rück\\weg", "ext4", "/dev/sdc 1"}}},
        {"optionale_felder.mountinfo",
         {{"/", "ext4", "/dev/vda"}, {"/home", "btrfs", "/dev/vdb"}, {"/srv", "xfs", "/dev/vdc1"}}},
        {"kaputt.mountinfo", {{"/", "ext4", "/dev/vda"}, {"/data", "ext4", "/dev/vdd"}}},
        {"kaputt_vorn.mountinfo", {}},
        {"fehlt.mountinfo", {}},
        {"", {}},
    };
    for (const auto& [datei, soll] : faelle) {
        std::vector<E> ist;
        for (const auto& e : plattform::einhaengTabelleAus(ordner + datei)) ist.emplace_back(e.punkt, e.typ, e.quelle);
        EXPECT_EQ(ist, soll) << datei;
    }
    const auto eigene = plattform::einhaengTabelle();
    EXPECT_TRUE(std::any_of(eigene.begin(), eigene.end(), [](const auto& e) { return e.punkt == "/"; }));
}

// The macOS layout, rebuilt below a test folder: firmlinked roots, the data volume's own
// folders, swap files left out, volumes from the disk reading.
TEST(Tiefenscan, MacPlatteMitVirtuellenKnoten) {
    Testordner t;
    const std::string b = t.pfad().native();
    const fs::path home = t.pfad() / "Users/anna";
    belegteDatei(home / "Filme/urlaub.mov", 6000 * block);
    belegteDatei(home / "Library/Containers/com.mail/x", 300 * block);
    belegteDatei(t.pfad() / "Applications/Karten.app/Contents/MacOS/karten", 13000 * block);
    belegteDatei(t.pfad() / "Library/Fonts/f.ttf", 300 * block);
    belegteDatei(t.pfad() / "private/var/vm/swapfile0", 3000 * block);
    belegteDatei(t.pfad() / "private/var/log/system.log", 300 * block);
    belegteDatei(t.pfad() / "usr/local/bin/werkzeug", 300 * block);
    const fs::path daten = t.pfad() / "System/Volumes/Data";
    belegteDatei(daten / ".Spotlight-V100/index", 600 * block);
    belegteDatei(daten / ".fseventsd/f", 10 * block);
    belegteDatei(daten / "MobileSoftwareUpdate/asset", 400 * block);
    belegteDatei(daten / "usr/local/bin/werkzeug", 300 * block);  // the same place as /usr/local on a Mac
    belegteDatei(daten / "usr/libexec/cups/x", 10 * block);
    fs::create_directories(t.pfad() / "usr/share");
    test::laufe("printf '/Users\\tUsers\\n/Applications\\tApplications\\n/Library\\tLibrary\\n/private\\tprivate\\n"
                "/usr/local\\tusr/local\\n/Volumes\\tVolumes\\n/cores\\tcores\\n' > '" +
                b + "/usr/share/firmlinks'");
    Platte platte;
    platte.volumes = {{"Macintosh HD - Daten", "Data", 400'000'000, "disk3s5"},
                      {"Macintosh HD", "System", 11'000'000'000, "disk3s1"},
                      {"VM", "VM", 2'000'000'000, "disk3s6"},
                      {"Preboot", "Preboot", 50'000'000, "disk3s2"}};
    for (const bool voll : {true, false}) {
        SCOPED_TRACE(voll);
        const auto e = Tiefenscan::scanneMacPlatte(home, voll, nullptr, Tiefenscan::MacAufbau{.basis = b}, platte);
        ASSERT_TRUE(e.wurzel);
        EXPECT_TRUE(e.ganzePlatte);
        const Knoten& w = *e.wurzel;
        EXPECT_EQ(w.name, "Macintosh HD");
        EXPECT_EQ(w.pfad, "#platte");
        auto d = Knoten::finde(e.wurzel, "#daten");
        ASSERT_TRUE(d);
        EXPECT_EQ(d->name, "Deine Daten");
        EXPECT_EQ(d->bytes, 400'000'000);  // measured plus what could not be seen
        const auto rest = Knoten::finde(e.wurzel, "#rest");
        ASSERT_TRUE(rest);
        EXPECT_EQ(rest->name, "Nicht einsehbar");
        EXPECT_EQ(rest->erklaerung->starts_with("Geschützte"), voll);
        const auto verwaltung = Knoten::finde(e.wurzel, "#verwaltung");
        ASSERT_TRUE(verwaltung);
        EXPECT_EQ(verwaltung->bytes, duSumme(daten / ".Spotlight-V100") + duSumme(daten / ".fseventsd"));
        const auto zusaetze = Knoten::finde(e.wurzel, "#zusaetze");
        ASSERT_TRUE(zusaetze);
        // /usr/local is counted once, as its own root
        EXPECT_EQ(zusaetze->bytes, duSumme(daten / "MobileSoftwareUpdate") + duSumme(daten / "usr") -
                                       duSumme(daten / "usr/local"));
        EXPECT_TRUE(Knoten::finde(e.wurzel, b + "/usr/local"));
        const auto apps = Knoten::finde(e.wurzel, b + "/Applications");
        ASSERT_TRUE(apps);
        const int64_t privat = Knoten::finde(e.wurzel, b + "/private")->bytes;
        EXPECT_EQ(privat, duSumme(t.pfad() / "private") - duSumme(t.pfad() / "private/var/vm"));
        const auto vm = Knoten::finde(e.wurzel, "#vol-disk3s6");
        ASSERT_TRUE(vm);
        EXPECT_EQ(vm->name, "Auslagerung (Swap)");
        EXPECT_EQ(vm->bytes, 2'000'000'000);
        EXPECT_FALSE(Knoten::finde(e.wurzel, "#vol-disk3s2"));  // not above 50,000,000
        EXPECT_EQ(w.bytes, 400'000'000 + 11'000'000'000 + 2'000'000'000);
        EXPECT_EQ(w.kinder.front()->pfad, "#vol-disk3s1");
        EXPECT_EQ(e.ausgelassen.size(), voll ? 0u : 3u);
        EXPECT_TRUE(enthaelt(e.kandidaten, home / "Filme/urlaub.mov"));
        EXPECT_TRUE(enthaelt(e.grosse, t.pfad() / "Applications/Karten.app"));
        pruefeBaum(w);
    }
}

}  // namespace
}  // namespace hainbrem
