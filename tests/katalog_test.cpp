// The evaluation: measuring, dropping empties, holding back running owners, the risk rule,
// sorting and progress; and `hainbrem pruefen` end to end on the fixture home.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sys/stat.h>

#include <fcntl.h>

#include <atomic>
#include <map>
#include <set>
#include <mutex>
#include <thread>

#include "fixture_home.hpp"
#include "kern/groesse.hpp"
#include "kern/katalog.hpp"
#include "testordner.hpp"

namespace hainbrem {
namespace {

using test::MacHome;
using test::Testordner;

Fund fundFuer(const fs::path& p, std::optional<std::string> besitzer = std::nullopt, bool vorgewaehlt = true) {
    Fund f;
    f.url = p;
    f.art = Entsorgung::loeschen;
    f.besitzer = std::move(besitzer);
    f.vorgewaehlt = vorgewaehlt;
    f.bytes = 12345;  // finders' figures are replaced by measured ones
    return f;
}

Regel regelMit(std::string id, Risiko risiko, std::vector<Fund> funde) {
    Regel r;
    r.id = std::move(id);
    r.titel = r.id;
    r.risiko = risiko;
    r.finde = [funde = std::move(funde)](const Umgebung&) { return funde; };
    return r;
}

std::vector<std::string> namen(const std::vector<Fund>& funde) {
    std::vector<std::string> n;
    for (const auto& f : funde) n.push_back(f.url.filename());
    return n;
}

Umgebung umgebungMit(const Testordner& t, std::function<bool(const std::string&)> laeuft = {}) {
    return Umgebung{.home = t.pfad(), .temp = t.pfad(), .vollzugriff = true, .laeuft = std::move(laeuft),
                    .hainbremImPapierkorb = {}};
}

TEST(KatalogPruefe, MisstSortiertStabilUndLaesstLeeresWeg) {
    Testordner t;
    const auto klein = t.datei("klein", 4096);
    const auto gross = t.datei("gross", 64 * 1024);
    const auto gleichA = t.datei("gleich-a", 8192);
    const auto gleichB = t.datei("gleich-b", 8192);
    const auto leer = t.datei("leer", 0);
    const auto fehlt = t.pfad() / "fehlt";
    // equal sizes keep the finder's order (b before a)
    const std::vector<Regel> regeln{
        regelMit("eins", Risiko::sicher,
                 {fundFuer(klein), fundFuer(gleichB), fundFuer(leer), fundFuer(gross), fundFuer(gleichA),
                  fundFuer(fehlt)}),
        regelMit("nur-leeres", Risiko::sicher, {fundFuer(leer), fundFuer(fehlt)}),
        regelMit("nichts", Risiko::sicher, {}),
    };
    const auto ergebnis = Katalog::pruefe(umgebungMit(t), regeln);
    ASSERT_EQ(ergebnis.size(), 1u);
    EXPECT_EQ(ergebnis[0].id(), "eins");
    EXPECT_EQ(namen(ergebnis[0].funde), (std::vector<std::string>{"gross", "gleich-b", "gleich-a", "klein"}));
    EXPECT_TRUE(ergebnis[0].uebersprungen.empty());
    int64_t summe = 0;
    for (const auto& f : ergebnis[0].funde) {
        EXPECT_EQ(f.bytes, Groesse::belegt(f.url));
        summe += f.bytes;
    }
    EXPECT_EQ(ergebnis[0].bytes(), summe);
    EXPECT_GE(ergebnis[0].funde[0].bytes, 64 * 1024);
}

// A finding its rule left undated is dated by the newest change of anything inside it (what
// the measuring walk saw anyway); a date the rule gave stays.
TEST(KatalogPruefe, UndatierteFundeTragenIhreJuengsteAenderung) {
    Testordner t;
    const auto setze = [](const fs::path& p, int64_t sekunden) {
        const struct timespec zeiten[2] = {{sekunden, 0}, {sekunden, 0}};
        ASSERT_EQ(::utimensat(AT_FDCWD, p.c_str(), zeiten, AT_SYMLINK_NOFOLLOW), 0) << p;
    };
    const auto alt = t.datei("cache/alt.bin", 4096);
    const auto neu = t.datei("cache/tief/innen/neu.bin", 4096);
    const auto datei = t.datei("einzeln.log", 4096);
    for (const auto& p : {alt, neu.parent_path(), neu.parent_path().parent_path(), t / "cache"}) setze(p, 1'000'000);
    setze(neu, 2'000'000);
    setze(datei, 3'000'000);
    Fund gegeben = fundFuer(t.datei("gegeben", 4096));
    gegeben.datum = Zeitpunkt(std::chrono::seconds(42));
    const auto ergebnis =
        Katalog::pruefe(umgebungMit(t), {regelMit("r", Risiko::sicher, {fundFuer(t / "cache"), fundFuer(datei), gegeben})});
    ASSERT_EQ(ergebnis.size(), 1u);
    std::map<std::string, int64_t> datum;
    for (const auto& f : ergebnis[0].funde) {
        ASSERT_TRUE(f.datum) << f.url;
        datum[f.url.filename()] = std::chrono::duration_cast<std::chrono::seconds>(f.datum->time_since_epoch()).count();
    }
    EXPECT_EQ(datum, (std::map<std::string, int64_t>{{"cache", 2'000'000}, {"einzeln.log", 3'000'000}, {"gegeben", 42}}));
}

TEST(KatalogPruefe, LaufendeBesitzerWerdenZurueckgehaltenOhneBesitzerNie) {
    Testordner t;
    const auto a = t.datei("slack-cache", 8192);
    const auto b = t.datei("slack-code", 4096);
    const auto c = t.datei("frei", 4096);
    const auto d = t.datei("anderes", 4096);
    const std::vector<Regel> regeln{
        regelMit("gemischt", Risiko::sicher, {fundFuer(a, "Slack"), fundFuer(c), fundFuer(d, "Spotify")}),
        regelMit("alles-laeuft", Risiko::sicher, {fundFuer(b, "Slack")}),
    };
    // a program called like the file must not hold back an ownerless finding
    const auto laeuft = [](const std::string& wer) { return wer == "Slack" || wer == "frei"; };
    const auto ergebnis = Katalog::pruefe(umgebungMit(t, laeuft), regeln);
    ASSERT_EQ(ergebnis.size(), 2u);
    EXPECT_EQ(namen(ergebnis[0].funde), (std::vector<std::string>{"frei", "anderes"}));  // equal sizes: finder order
    EXPECT_EQ(namen(ergebnis[0].uebersprungen), (std::vector<std::string>{"slack-cache"}));
    EXPECT_GT(ergebnis[0].uebersprungen[0].bytes, 0);
    EXPECT_TRUE(ergebnis[1].funde.empty());
    EXPECT_EQ(namen(ergebnis[1].uebersprungen), (std::vector<std::string>{"slack-code"}));
    EXPECT_EQ(ergebnis[1].bytes(), 0);
}

TEST(KatalogPruefe, VorsichtIstNieVorgewaehltAndereBehaltenIhreWahl) {
    Testordner t;
    const auto a = t.datei("a", 4096);
    const auto b = t.datei("b", 4096);
    const std::vector<Regel> regeln{
        regelMit("vorsicht", Risiko::vorsicht, {fundFuer(a, std::nullopt, true)}),
        regelMit("pruefen", Risiko::pruefen, {fundFuer(a, std::nullopt, true), fundFuer(b, std::nullopt, false)}),
        regelMit("sicher", Risiko::sicher, {fundFuer(b, std::nullopt, false)}),
    };
    const auto ergebnis = Katalog::pruefe(umgebungMit(t), regeln);
    ASSERT_EQ(ergebnis.size(), 3u);
    EXPECT_FALSE(ergebnis[0].funde[0].vorgewaehlt);
    EXPECT_TRUE(ergebnis[1].funde[0].vorgewaehlt);
    EXPECT_FALSE(ergebnis[1].funde[1].vorgewaehlt);
    EXPECT_FALSE(ergebnis[2].funde[0].vorgewaehlt);
}

TEST(KatalogPruefe, FortschrittSteigtBisEinsUndBleibtOhneFundeStumm) {
    Testordner t;
    std::vector<Fund> funde;
    for (int i = 0; i < 40; ++i) funde.push_back(fundFuer(t.datei("f" + std::to_string(i), 4096)));
    // the same path in two rules is one measurement but counts for both findings
    const std::vector<Regel> regeln{regelMit("viele", Risiko::sicher, funde),
                                    regelMit("doppelt", Risiko::sicher, {funde[0]})};
    Steuerung stand;
    const auto ergebnis = Katalog::pruefe(umgebungMit(t), regeln, &stand);
    ASSERT_EQ(ergebnis.size(), 2u);
    EXPECT_EQ(ergebnis[1].funde[0].bytes, ergebnis[0].funde[0].bytes);
    EXPECT_EQ(stand.gesamt.load(), 41);
    EXPECT_EQ(stand.erledigt.load(), 41);
    EXPECT_EQ(stand.bytes.load(), ergebnis[0].bytes());

    Steuerung leer;
    EXPECT_TRUE(Katalog::pruefe(umgebungMit(t), {regelMit("leer", Risiko::sicher, {})}, &leer).empty());
    EXPECT_EQ(leer.gesamt.load(), 0);
}

size_t faedenJetzt() {
    size_t n = 0;
    std::error_code fehler;
    for (auto it = fs::directory_iterator("/proc/self/task", fehler); !fehler && it != fs::directory_iterator();
         it.increment(fehler))
        ++n;
    return n;
}

TEST(KatalogPruefe, HoechstensSechsMessungenZugleich) {
    if (!fs::exists("/proc/self/task")) GTEST_SKIP() << "braucht /proc";
    Testordner t;
    std::vector<Fund> funde;
    // folders with some content, so measurements overlap
    for (int i = 0; i < 60; ++i) {
        for (int j = 0; j < 20; ++j) t.datei("o" + std::to_string(i) + "/d" + std::to_string(j), 100);
        funde.push_back(fundFuer(t / ("o" + std::to_string(i))));
    }
    // a watcher counts the process's threads all through the check
    std::atomic<bool> fertig{false};
    std::atomic<size_t> hoechstens{0};
    std::thread waechter([&] {
        while (!fertig.load()) hoechstens = std::max(hoechstens.load(), faedenJetzt());
    });
    const size_t vorher = faedenJetzt();  // with the watcher
    const auto ergebnis = Katalog::pruefe(umgebungMit(t), {regelMit("viele", Risiko::sicher, funde)});
    fertig = true;
    waechter.join();
    ASSERT_EQ(ergebnis.size(), 1u);
    EXPECT_EQ(ergebnis[0].funde.size(), 60u);
    EXPECT_LE(hoechstens.load(), vorher + Katalog::gleichzeitigeMessungen);
    EXPECT_EQ(faedenJetzt(), vorher - 1);  // the pool is gone afterwards, and so is the watcher
}

TEST(KatalogPruefe, AnhaltenStartetNichtsMehr) {
    Testordner t;
    const auto datei = t.datei("f", 4096);
    bool zweiteGesucht = false;
    std::stop_source stopp;
    std::vector<Regel> regeln{regelMit("erste", Risiko::sicher, {fundFuer(datei)}),
                              regelMit("zweite", Risiko::sicher, {fundFuer(datei)})};
    regeln[1].finde = [&](const Umgebung&) {
        zweiteGesucht = true;
        return std::vector<Fund>{};
    };
    // stopped before the start, and by the first rule: the second never searches, nothing is measured
    for (const bool sofort : {true, false}) {
        if (sofort) stopp.request_stop();
        else regeln[0].finde = [&](const Umgebung&) {
            stopp.request_stop();
            return std::vector<Fund>{fundFuer(datei)};
        };
        Steuerung s(stopp.get_token());
        EXPECT_TRUE(Katalog::pruefe(umgebungMit(t), regeln, &s).empty());
        EXPECT_FALSE(zweiteGesucht);
        EXPECT_EQ(s.erledigt.load(), 0);
        stopp = std::stop_source();
    }
}

TEST(KatalogPruefe, EinScheiternderFinderNimmtDenAnderenNichts) {
    Testordner t;
    const auto datei = t.datei("f", 4096);
    std::vector<Regel> regeln{regelMit("kaputt", Risiko::sicher, {}), regelMit("heil", Risiko::sicher, {fundFuer(datei)})};
    regeln[0].finde = [](const Umgebung&) -> std::vector<Fund> { throw std::runtime_error("kaputt"); };
    const auto ergebnis = Katalog::pruefe(umgebungMit(t), regeln);
    ASSERT_EQ(ergebnis.size(), 1u);
    EXPECT_EQ(ergebnis[0].id(), "heil");
}

TEST(KatalogPruefe, TestHomeVollstaendig) {
    Testordner t;
    const MacHome h(t);
    const auto laeuftSlack = [](const std::string& b) { return b == "Slack"; };
    const auto ergebnis = Katalog::pruefe(h.umgebung(true, laeuftSlack));
    // every rule with something in the fixture appears, in catalog order
    std::vector<std::string> ids;
    for (const auto& e : ergebnis) ids.push_back(e.id());
    std::vector<std::string> erwartet;
    for (const auto& r : Katalog::regeln())
        if (r.id != "chrome-versionen") erwartet.push_back(r.id);
    EXPECT_EQ(ids, erwartet);

    for (const auto& e : ergebnis) {
        for (size_t i = 1; i < e.funde.size(); ++i) EXPECT_GE(e.funde[i - 1].bytes, e.funde[i].bytes) << e.id();
        for (const auto& f : e.funde) {
            EXPECT_GE(f.bytes, 1) << f.url;
            if (e.regel.risiko == Risiko::vorsicht) {
                EXPECT_FALSE(f.vorgewaehlt) << f.url;
            }
        }
        if (e.id() == "programm-caches") {  // the empty file is gone
            for (const auto& f : e.funde) EXPECT_NE(f.url.filename(), "leer.cache");
        }
        if (e.id() == "xcode-derived") {
            EXPECT_EQ(namen(e.funde), (std::vector<std::string>{"Zzz-gross", "Aaa-klein"}));
        }
        if (e.id() == "programmdaten-caches") {
            EXPECT_EQ(e.uebersprungen.size(), 3u);
            for (const auto& f : e.uebersprungen) EXPECT_EQ(f.besitzer, "Slack");
        }
        if (e.id() == "protokolle") {
            EXPECT_EQ(namen(e.uebersprungen), (std::vector<std::string>{"Slack"}));
        }
    }
}

// `vorne` goes before the binary, e.g. to run it as another user.
nlohmann::json pruefenAlsJson(const MacHome& h, int* status, const std::string& vorne = "") {
    const std::string befehl = "HOME='" + h.home().native() + "' TMPDIR='" + h.temp().native() + "' XDG_DATA_HOME= " +
                               vorne + "'" + std::string(HAINBREM_BINARY) + "' --json --profil macos pruefen 2>/dev/null";
    return nlohmann::json::parse(test::laufe(befehl, status), nullptr, false);
}

TEST(KatalogBefehl, PruefenJsonAufDemTestHome) {
    Testordner t;
    const MacHome h(t);
    int status = -1;
    const auto j = pruefenAlsJson(h, &status);
    EXPECT_EQ(status, 0);
    ASSERT_TRUE(j.is_array()) << j.dump();
    std::map<std::string, nlohmann::json> nachId;
    for (const auto& r : j) {
        for (const char* schluessel : {"id", "titel", "gruppe", "risiko", "bytes", "funde", "uebersprungen"})
            EXPECT_TRUE(r.contains(schluessel)) << schluessel;
        int64_t summe = 0;
        for (const auto& f : r["funde"]) {
            for (const char* s : {"pfad", "name", "bytes", "art", "besitzer", "datum", "vorgewaehlt", "titel"})
                EXPECT_TRUE(f.contains(s)) << s;
            summe += f["bytes"].get<int64_t>();
        }
        EXPECT_EQ(r["bytes"].get<int64_t>(), summe);
        nachId[r["id"].get<std::string>()] = r;
    }
    ASSERT_TRUE(nachId.contains("browser"));
    ASSERT_TRUE(nachId.contains("installer"));
    ASSERT_TRUE(nachId.contains("huggingface"));

    const auto finde = [&](const std::string& id, const std::string& name) {
        for (const auto& f : nachId[id]["funde"])
            if (f["name"] == name) return f;
        return nlohmann::json();
    };
    const auto google = finde("browser", "Google");
    ASSERT_FALSE(google.is_null());
    EXPECT_EQ(google["pfad"], (h.home() / "Library/Caches/Google").native());
    EXPECT_EQ(google["besitzer"], "Google Chrome");
    EXPECT_EQ(google["art"], "loeschen");
    EXPECT_EQ(google["vorgewaehlt"], true);
    EXPECT_TRUE(google["datum"].is_string()) << "ohne Datum der Regel: die jüngste Änderung darin";
    EXPECT_TRUE(google["titel"].is_null());

    const auto dmg = finde("installer", "Programm.dmg");
    ASSERT_FALSE(dmg.is_null());
    EXPECT_EQ(dmg["art"], "papierkorb");
    EXPECT_TRUE(dmg["besitzer"].is_null());
    ASSERT_TRUE(dmg["datum"].is_string());
    EXPECT_EQ(dmg["datum"].get<std::string>().size(), 20u);  // 2026-11-15T20:35:00Z
    EXPECT_TRUE(finde("installer", "Spiel.pkg").is_null());

    const auto whisper = finde("huggingface", "whisper-small (openai)");
    ASSERT_FALSE(whisper.is_null());
    EXPECT_EQ(whisper["vorgewaehlt"], false);
    EXPECT_EQ(whisper["titel"], "whisper-small (openai)");
}

TEST(KatalogBefehl, UnlesbareOrdnerErgebenKeineFundeUndKeinenFehler) {
    if (!test::kannAlsNobodyLaufen()) GTEST_SKIP() << "braucht root, um als nobody zu laufen";
    Testordner t;
    const MacHome h(t);
    ::chmod((h.home() / "Library/Caches").c_str(), 0700);
    int status = -1;
    const auto j = pruefenAlsJson(h, &status, "setpriv --reuid=nobody --regid=nogroup --clear-groups ");
    EXPECT_EQ(status, 0);
    ASSERT_TRUE(j.is_array()) << j.dump();
    std::set<std::string> ids;
    for (const auto& r : j) {
        ids.insert(r["id"].get<std::string>());
        for (const auto& f : r["funde"])
            EXPECT_FALSE(f["pfad"].get<std::string>().starts_with((h.home() / "Library/Caches/").native())) << f["pfad"];
    }
    EXPECT_FALSE(ids.contains("browser"));
    EXPECT_FALSE(ids.contains("temporaer"));  // nobody owns nothing in that temp folder
    EXPECT_TRUE(ids.contains("protokolle"));
    EXPECT_TRUE(ids.contains("xcode-derived"));
}

TEST(KatalogBefehl, RegelnListetAlleMitTexten) {
    int status = -1;
    const auto j = nlohmann::json::parse(test::laufe(std::string("'") + HAINBREM_BINARY + "' --json regeln", &status),
                                         nullptr, false);
    EXPECT_EQ(status, 0);
    ASSERT_TRUE(j.is_array());
    EXPECT_EQ(j.size(), Katalog::regeln().size());
    for (const auto& r : j)
        for (const char* s : {"was", "warumSicher", "danach"}) EXPECT_FALSE(r[s].get<std::string>().empty());

    const std::string text = test::laufe(std::string("'") + HAINBREM_BINARY + "' regeln", &status);
    EXPECT_EQ(status, 0);
    EXPECT_NE(text.find("Alte Installationsdateien"), std::string::npos);

    test::laufe(std::string("'") + HAINBREM_BINARY + "' pruefen --regel gibt-es-nicht 2>/dev/null", &status);
    EXPECT_EQ(status, 1);
}

}  // namespace
}  // namespace hainbrem
