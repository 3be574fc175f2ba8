// The windows on a fixture home: the findings list against the selection, the sheet's arming
// and rows, the result bar's line, the settings and the panel, and one cleanup end to end.
#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QSettings>
#include <QSlider>
#include <QTableWidget>
#include <QToolButton>

#include "../modell/welt.hpp"
#include "app/fenster/bestaetigung.hpp"
#include "app/fenster/einstellungsfenster.hpp"
#include "app/fenster/fundliste.hpp"
#include "app/fenster/hauptfenster.hpp"
#include "app/fenster/menueleiste.hpp"
#include "app/fenster/ringansicht.hpp"
#include "app/fenster/seiten.hpp"
#include "kern/bestaetigung.hpp"
#include "kern/format.hpp"

#include <nlohmann/json.hpp>

namespace hainbrem::test {
namespace {

using namespace std::chrono_literals;

// Sizes keep a no-break space between number and unit; the tests read them with a plain one.
QString normal(QString text) { return text.replace(QChar(0x00A0), QLatin1Char(' ')); }

QStringList texte(const QWidget& w) {
    QStringList t;
    for (const auto* l : w.findChildren<QLabel*>()) t << normal(l->text());
    return t;
}

TEST(FundListe, HaekchenSindDieAuswahlInBeideRichtungenUndSortierenGehtUeberIndizes) {
    Welt w;
    AppModell m(w.umfeld());
    FundListe liste(m, "/home/anna");
    Fund a = fund("/home/anna/b-mittel", 200), b = fund("/home/anna/A-gross", 300), c = fund("/tmp/c-klein", 100);
    a.datum = Zeitpunkt{std::chrono::hours(10)};
    b.datum = Zeitpunkt{std::chrono::hours(30)};
    liste.setzeFunde({a, b, c});
    m.waehle(c.url, true);
    EXPECT_EQ(liste.index(2, FundListe::name).data(Qt::CheckStateRole), Qt::Checked);
    EXPECT_TRUE(liste.setData(liste.index(0, FundListe::name), Qt::Checked, Qt::CheckStateRole));
    EXPECT_EQ(m.auswahl(), (std::set<std::string>{a.url, c.url}));
    EXPECT_EQ(liste.gewaehlte(), (std::vector<Fund>{a, c}));
    EXPECT_EQ(liste.index(0, FundListe::ort).data().toString(), "~");

    const std::vector<std::pair<int, std::string>> faelle{
        {FundListe::groesse, "/tmp/c-klein"}, {FundListe::name, "/home/anna/A-gross"},
        {FundListe::alter, "/home/anna/A-gross"}};  // newest first, no date last
    for (const auto& [spalte, erster] : faelle) {
        liste.sort(spalte, Qt::AscendingOrder);
        EXPECT_EQ(liste.fund(0).url, erster) << spalte;
    }
    // the note column sorts by what it shows, which a page may make from more than the title
    liste.setzeHinweis([](const Fund& f) { return f.url.filename() == "c-klein" ? QString("Alpha") : QString("Zeta"); });
    liste.sort(FundListe::hinweis, Qt::AscendingOrder);
    EXPECT_EQ(liste.fund(0).url, "/tmp/c-klein");
    EXPECT_EQ(liste.index(0, FundListe::hinweis).data().toString(), "Alpha");
    liste.sort(FundListe::groesse, Qt::DescendingOrder);
    EXPECT_EQ(liste.index(0, FundListe::name).data(FundListe::pfadRolle).toString(), "/home/anna/A-gross");
    liste.setzeWaehlbar([](const Fund& f) { return f.bytes != 300; });  // e.g. a duplicate's keeper
    EXPECT_FALSE(liste.flags(liste.index(0, FundListe::name)) & Qt::ItemIsUserCheckable);
    EXPECT_FALSE(liste.setData(liste.index(0, FundListe::name), Qt::Checked, Qt::CheckStateRole));
    EXPECT_FALSE(m.istGewaehlt(b.url));
}

struct Uhrwerk {
    std::shared_ptr<std::chrono::steady_clock::time_point> jetzt =
        std::make_shared<std::chrono::steady_clock::time_point>(std::chrono::hours(1));
    Uhr uhr() const {
        return [j = jetzt] { return *j; };
    }
};

TEST(Bestaetigung, ScharfErstNach900msZeilenSummenUndBeenden) {
    Welt w;
    const fs::path cache = w.mac.ordnerMitDatei("Library/Caches/com.example.a", 4096);
    // Slack runs until "Beenden" quits it; the sheet and the round ask the model's one test
    std::atomic<bool> slackLaeuft{true};
    Umfeld umfeld = w.umfeld();
    umfeld.laeuft = [&](const std::string& b) { return b == "Slack" && slackLaeuft.load(); };
    AppModell m(umfeld);
    Uhrwerk zeit;
    std::vector<std::string> beendet;
    const Auftrag auftrag{"1", "Gemischt",
                          {fund(cache, 1'500'000, Entsorgung::loeschen, "Slack"),
                           fund(w.mac.home() / "Library/Caches/weg", 500'000, Entsorgung::loeschen),
                           fund(w.mac.home() / "Movies/film.mov", 2'000'000'000, Entsorgung::papierkorb)}};
    m.setzeAuftrag(auftrag);
    BestaetigungsAnsicht blatt(m, auftrag, nullptr, {zeit.uhr(), [&](const std::string& b) {
                                                          beendet.push_back(b);
                                                          slackLaeuft = false;
                                                      }});
    blatt.show();
    const QStringList t = texte(blatt);
    for (const char* erwartet : {"<b>2 × endgültig löschen</b>", "<b>2 MB</b>", "<b>1 × in den Papierkorb</b>",
                                 "<b>2 GB</b>", "Zusammen <b>2 GB</b> in 3 Teilen",
                                 "Läuft ein Programm, dem etwas davon gehört, bleibt das liegen.",
                                 "Slack läuft noch, seine Teile blieben liegen."})
        EXPECT_TRUE(t.contains(QString::fromUtf8(erwartet))) << erwartet << "\n" << t.join('\n').toStdString();
    for (auto* k : blatt.findChildren<QPushButton*>())
        if (k->text() == "Beenden") k->click();
    EXPECT_EQ(beendet, std::vector<std::string>{"Slack"});

    EXPECT_FALSE(blatt.bestaetigenKnopf()->isEnabled());
    *zeit.jetzt += 899ms;
    blatt.bestaetigen();
    EXPECT_TRUE(m.auftrag());
    EXPECT_FALSE(m.entsorgtGerade());
    *zeit.jetzt += 1ms;
    blatt.bestaetigen();
    EXPECT_FALSE(m.auftrag());
    EXPECT_TRUE(m.entsorgtGerade());
    ASSERT_TRUE(warte([&] { return !m.entsorgtGerade(); }));
    EXPECT_FALSE(fs::exists(cache));
}

// One road: the sheet shows the confirmation of the order's round as the core works it out, the
// same the command line prints for the same order; which owners run is the model's own test.
TEST(Bestaetigung, WieInDerBefehlszeileMitDemLauftestDesModells) {
    Welt w;
    const fs::path a = w.mac.ordnerMitDatei("Library/Caches/com.example.a", 4096);
    const fs::path b = w.mac.datei("Documents/brief.txt", 3000);
    int status = 0;
    const auto befehl = nlohmann::json::parse(test::laufe(
        "cd / && HAINBREM_TEST=1 HOME='" + w.mac.home().native() + "' TMPDIR='" + w.mac.temp().native() +
            "' " HAINBREM_BINARY " --profil macos --json entsorgen --papierkorb --probelauf '" + a.native() + "' '" +
            b.native() + "' 2>/dev/null",
        &status));
    ASSERT_EQ(status, 0) << befehl.dump();
    const auto& erwartet = befehl.at("bestaetigung");

    Umfeld umfeld = w.umfeld();
    umfeld.laeuft = [](const std::string& n) { return n == "Beispiel"; };
    AppModell m(umfeld);
    std::vector<Fund> funde;
    for (const auto& p : befehl.at("posten"))
        funde.push_back(fund(p.at("pfad").get<std::string>(), p.at("bytes").get<int64_t>(), Entsorgung::papierkorb));
    m.bitte(funde, "Vergleich");
    ASSERT_TRUE(m.auftrag() && m.auftrag()->gang);
    const Bestaetigung& b2 = m.auftrag()->gang->bestaetigung();
    ASSERT_EQ(b2.zeilen.size(), erwartet.at("zeilen").size());
    for (size_t i = 0; i < b2.zeilen.size(); ++i) {
        EXPECT_EQ(b2.zeilen[i].titel, erwartet["zeilen"][i].at("titel"));
        EXPECT_EQ(b2.zeilen[i].bytes, erwartet["zeilen"][i].at("bytes"));
        EXPECT_EQ(b2.zeilen[i].text, erwartet["zeilen"][i].at("text"));
    }
    EXPECT_EQ(b2.teile, erwartet.at("teile"));
    EXPECT_EQ(b2.hinweis, erwartet.at("hinweis"));
    BestaetigungsAnsicht blatt(m, *m.auftrag());
    const QStringList t = texte(blatt);
    EXPECT_TRUE(t.contains(QStringLiteral("<b>%1</b>").arg(QString::fromStdString(b2.zeilen[0].titel))))
        << t.join('\n').toStdString();

    // an owner the model's test says runs reaches the sheet
    funde.push_back(fund(w.mac.home() / "Library/Caches/weg", 10, Entsorgung::loeschen, "Beispiel"));
    m.bitte(funde, "Mit Besitzer");
    BestaetigungsAnsicht mitBesitzer(m, *m.auftrag());
    EXPECT_TRUE(texte(mitBesitzer).contains("Beispiel läuft noch, seine Teile blieben liegen."))
        << texte(mitBesitzer).join('\n').toStdString();
}

TEST(Ergebnisleiste, ErklaertDieRundeUndSchliesst) {
    Welt w;
    w.platz->frei = 76'030'000'000;
    AppModell m(w.umfeld());
    ErgebnisLeiste leiste(m);
    EXPECT_TRUE(leiste.isHidden());
    auto runde = [](int64_t erwartet, int64_t gewonnen, int fehler, bool korb) {
        Runde r{"R", "Aufräumen", {}, 10'000'000'000, 10'000'000'000 + gewonnen, {}, false};
        r.posten.push_back({"/a", erwartet, Entsorgung::loeschen, std::nullopt, std::nullopt, false});
        for (int i = 0; i < fehler; ++i)
            r.posten.push_back({"/f" + std::to_string(i), 0, Entsorgung::loeschen, std::nullopt, "geschützt", false});
        if (korb) r.posten.push_back({"/k", 3'000'000, Entsorgung::papierkorb, "/T/k", std::nullopt, false});
        return r;
    };
    const std::vector<std::pair<Runde, std::string>> faelle{
        {runde(100'000'000, 100'000'000, 0, false), "Alles erledigt. Echter freier Platz jetzt: 76,03 GB."},
        {runde(100'000'000, 79'999'999, 0, false),
         "weniger als erwartet: Klone, Hardlinks oder ein Schnappschuss halten Daten fest, oder andere Programme "
         "schreiben gerade"},
        {runde(100'000'000, 80'000'000, 0, false), "Alles erledigt. Echter freier Platz jetzt: 76,03 GB."},
        {runde(50'000'000, 0, 0, false), "Alles erledigt. Echter freier Platz jetzt: 76,03 GB."},
        {runde(10'000, 10'000, 3, true),
         "3 MB liegen im Papierkorb – frei erst nach dem Leeren · 3 übersprungen (läuft gerade oder geschützt)"},
    };
    // the bar's line, with the model's fresh reading as "now"
    for (const auto& [r, text] : faelle) EXPECT_EQ(erklaerung(r, [&] { return m.stand().echtFrei; }), text);
    m.setzeAuftrag(Auftrag{"1", "Nichts", {}});
    m.ausfuehren(*m.auftrag());
    ASSERT_TRUE(warte([&] { return m.letzteRunde().has_value(); }));
    EXPECT_FALSE(leiste.isHidden());
    EXPECT_EQ(normal(leiste.erklaerung()), "Alles erledigt. Echter freier Platz jetzt: 76,03 GB.");
    leiste.schliessenKnopf()->click();
    EXPECT_FALSE(m.letzteRunde());
    EXPECT_TRUE(leiste.isHidden());
}

QString bytesText(int64_t b) { return QString::fromStdString(alsBytes(b)); }

// After "Rückgängig" the Trash part is back and no gain is missing: expected was only what left
// the disk for good. A dry run measured nothing and says what would have happened.
TEST(Ergebnisleiste, NachRueckgaengigUndNachProbelauf) {
    for (const bool probelauf : {false, true}) {
        Welt w;
        const fs::path cache = w.mac.ordnerMitDatei("Library/Caches/com.example.a", 1'000'000);
        const fs::path film = w.mac.datei("Movies/film.mov", 70'000'000);
        AppModell m(w.umfeld(probelauf ? QStringList{"-testlauf", "YES"} : QStringList{}));
        ErgebnisLeiste leiste(m);
        m.bitte({fund(cache, 0, Entsorgung::loeschen), fund(film, 0, Entsorgung::papierkorb)}, "Gemischt");
        m.ausfuehren(*m.auftrag());
        ASSERT_TRUE(warte([&] { return m.letzteRunde().has_value() && !m.entsorgtGerade(); }));
        const Runde r = *m.letzteRunde();
        ASSERT_EQ(r.posten.size(), 2u);
        const int64_t geloescht = r.posten[0].bytes, korb = r.posten[1].bytes;
        ASSERT_GT(korb, 50'000'000);
        if (probelauf) {
            EXPECT_TRUE(fs::exists(cache) && fs::exists(film));
            EXPECT_TRUE(texte(leiste).contains("<b>Probelauf</b>: nichts entfernt")) << texte(leiste).join('\n').toStdString();
            EXPECT_TRUE(texte(leiste).contains("Freier Platz: <b>50 GB</b>"));  // today's, not a made-up one
            EXPECT_EQ(normal(leiste.erklaerung()), bytesText(geloescht) + " würden frei · " + bytesText(korb) +
                                               " gingen in den Papierkorb – frei erst nach dem Leeren");
            EXPECT_FALSE(leiste.rueckgaengigKnopf()->isEnabled());
            continue;
        }
        EXPECT_EQ(normal(leiste.erklaerung()), bytesText(korb) + " liegen im Papierkorb – frei erst nach dem Leeren");
        ASSERT_TRUE(leiste.rueckgaengigKnopf()->isEnabled());
        leiste.rueckgaengigKnopf()->click();
        ASSERT_TRUE(warte([&] { return fs::exists(film) && !leiste.rueckgaengigKnopf()->isEnabled(); }));
        EXPECT_EQ(normal(leiste.erklaerung()), bytesText(korb) + " zurückgelegt");
    }
}

// Once the safe caches are gone, the emergency card checks again and says so instead of opening
// a sheet of nothing; a sheet of nothing would never arm anyway.
TEST(Uebersicht, NotfallOhneSichereCachesOeffnetKeinBlatt) {
    Welt w;
    AppModell m(w.umfeld());
    UebersichtSeite seite(m);
    QPushButton* knopf = nullptr;
    for (auto* k : seite.findChildren<QPushButton*>())
        if (k->text() == "Sichere Caches freigeben") knopf = k;
    ASSERT_TRUE(knopf);
    knopf->click();
    ASSERT_TRUE(warte([&] { return m.auftrag().has_value(); }));
    EXPECT_EQ(m.auftrag()->titel, AppModell::notfallTitel);
    EXPECT_FALSE(m.auftrag()->funde.empty());
    m.ausfuehren(*m.auftrag());
    ASSERT_TRUE(warte([&] { return m.letzteRunde().has_value() && !m.entsorgtGerade(); }));
    ASSERT_EQ(m.letzteRunde()->fehlerAnzahl(), 0u);

    knopf->click();
    ASSERT_TRUE(warte([&] { return !m.katalogLaeuft(); }));
    EXPECT_FALSE(m.auftrag());
    EXPECT_TRUE(m.katalogSicher().empty());
    EXPECT_EQ(knopf->text(), "Noch einmal prüfen");
    EXPECT_TRUE(knopf->isEnabled());
    const QStringList t = texte(seite);
    EXPECT_TRUE(std::any_of(t.begin(), t.end(), [](const QString& x) {
        return x.startsWith("Gerade liegen keine sicheren Caches herum (geprüft gerade eben).");
    })) << t.join('\n').toStdString();

    Uhrwerk zeit;
    BestaetigungsAnsicht leer(m, Auftrag{"2", "Leer", {}}, nullptr, {zeit.uhr(), {}});
    leer.show();
    *zeit.jetzt += 2s;
    EXPECT_FALSE(leer.bereit());
    leer.bestaetigen();
    EXPECT_FALSE(m.entsorgtGerade());
}

QStringList zeilen(const QTableWidget& t) {
    QStringList z;
    for (int i = 0; i < t.rowCount(); ++i) z << t.item(i, 0)->text();
    return z;
}

// After a round the map no longer lists what went, stays where the user was, and shows the
// Trash holding what went there; an undo brings the bytes back to their folder.
TEST(Speicherkarte, ZeigtNachDerRundeNichtMehrWasWegIst) {
    Welt w;
    const fs::path cache = w.mac.ordnerMitDatei("Library/Caches/com.example.gross", 3'000'000);
    const fs::path bleibt = w.mac.ordnerMitDatei("Library/Caches/com.example.bleibt", 2'000'000);
    const fs::path alt = w.mac.ordnerMitDatei("Documents/Altes Projekt", 2'000'000);
    AppModell m(w.umfeld());
    KarteSeite karte(m);
    m.tiefenscan();
    ASSERT_TRUE(warte([&] { return m.scan() && !m.scanLaeuft(); }));
    const auto caches = Knoten::finde(m.scan()->wurzel, (w.mac.home() / "Library/Caches").native());
    ASSERT_TRUE(caches);
    karte.oeffne(caches);
    const auto* liste = karte.findChild<QTableWidget*>();
    ASSERT_TRUE(liste);
    ASSERT_TRUE(zeilen(*liste).contains("com.example.gross")) << zeilen(*liste).join(',').toStdString();
    const int64_t dokumente = Knoten::finde(m.scan()->wurzel, (w.mac.home() / "Documents").native())->bytes;
    const int64_t ganz = m.scan()->wurzel->bytes, gross = Knoten::finde(m.scan()->wurzel, cache.native())->bytes;

    m.bitte({fund(cache, 0, Entsorgung::loeschen), fund(alt, 0, Entsorgung::papierkorb)}, "Runde");
    m.ausfuehren(*m.auftrag());
    ASSERT_TRUE(warte([&] { return m.letzteRunde().has_value() && !m.entsorgtGerade(); }));
    ASSERT_EQ(m.letzteRunde()->fehlerAnzahl(), 0u);
    EXPECT_FALSE(zeilen(*liste).contains("com.example.gross")) << zeilen(*liste).join(',').toStdString();
    EXPECT_TRUE(zeilen(*liste).contains("com.example.bleibt"));
    EXPECT_EQ(karte.ringe()->mitte()->pfad, caches->pfad) << "die Karte bleibt, wo sie war";
    const auto& baum = m.scan()->wurzel;
    EXPECT_FALSE(Knoten::finde(baum, cache.native()));
    EXPECT_FALSE(Knoten::finde(baum, alt.native()));
    EXPECT_LT(Knoten::finde(baum, (w.mac.home() / "Documents").native())->bytes, dokumente - 1'900'000);
    EXPECT_EQ(baum->bytes, ganz - gross) << "was in den Papierkorb ging, liegt noch im Home-Ordner";
    (void)bleibt;

    m.rueckgaengig(m.letzteRunde()->id);
    ASSERT_TRUE(warte([&] { return fs::exists(alt); }));
    ASSERT_TRUE(warte([&] {
        return Knoten::finde(m.scan()->wurzel, (w.mac.home() / "Documents").native())->bytes == dokumente;
    }));
}

TEST(Einstellungen, JedesBedienelementSchreibtSeinenSchluessel) {
    Welt w;
    AppModell m(w.umfeld());
    std::vector<bool> anmeldungen;
    bool klappt = true, eingetragen = false;
    EinstellungenAnsicht e(m.einstellungen(), {[&](bool an) {
                                                   anmeldungen.push_back(an);
                                                   if (klappt) eingetragen = an;
                                                   return klappt;
                                               },
                                               [&] { return eingetragen; }});
    e.erscheinung()->setCurrentIndex(2);
    e.menueleiste()->setChecked(false);
    e.grenze()->setValue(25);
    e.anmelden()->setChecked(true);
    klappt = false;
    e.anmelden()->setChecked(false);
    QSettings s(w.einstellungen(), QSettings::IniFormat);
    EXPECT_EQ(s.value("erscheinung").toString(), "dunkel");
    EXPECT_FALSE(s.value("menueleiste").toBool());
    EXPECT_EQ(s.value("warnGrenzeGB").toDouble(), 25.0);
    EXPECT_EQ(m.warnGrenze(), 25 * GB);
    EXPECT_EQ(e.grenzeText()->text(), "Warnen unter 25 GB");
    EXPECT_EQ(anmeldungen, (std::vector<bool>{true, false}));
    EXPECT_TRUE(e.anmelden()->isChecked());  // the failed change is taken back
    EXPECT_EQ(e.grenze()->minimum(), 2);
    EXPECT_EQ(e.grenze()->maximum(), 40);
}

TEST(Menueleiste, SymbolNachLageUndKnoepfeRufenIhreAktionen) {
    Welt w;
    w.mac.ordnerMitDatei("Library/Caches/com.example.a", 8192);
    AppModell m(w.umfeld());
    MenueleistenSymbol symbol(m);
    EXPECT_STREQ(symbol.symbolName(), "leaf.fill");
    w.platz->frei = 5 * GB;
    m.standAktualisieren();
    EXPECT_STREQ(symbol.symbolName(), "exclamationmark.triangle.fill");
    MenueleistenAnsicht& p = *symbol.ansicht();
    EXPECT_FALSE(p.aufraeumenKnopf()->isEnabled());  // nothing checked yet
    p.pruefenKnopf()->click();
    EXPECT_TRUE(m.katalogLaeuft());
    ASSERT_TRUE(warte([&] { return !m.katalogLaeuft(); }));
    ASSERT_FALSE(m.katalogSicher().empty());
    EXPECT_TRUE(p.aufraeumenKnopf()->text().startsWith("Sichere Caches aufräumen · "));
    int geoeffnet = 0;
    QObject::connect(&symbol, &MenueleistenSymbol::oeffnen, [&] { ++geoeffnet; });
    // the window opens with the sheet above it, active
    Hauptfenster f(m, w.mac.home());
    QObject::connect(&symbol, &MenueleistenSymbol::oeffnen, &f, &Hauptfenster::zeigen);
    p.aufraeumenKnopf()->click();
    ASSERT_TRUE(m.auftrag());
    EXPECT_EQ(m.auftrag()->titel, "Sichere Caches aufräumen");
    EXPECT_EQ(m.auftrag()->funde, m.katalogSicher());
    ASSERT_TRUE(f.blatt());
    EXPECT_TRUE(f.isVisible());
    EXPECT_TRUE(f.blatt()->isVisible());
    EXPECT_TRUE(warte([&] { return QApplication::activeWindow() == f.blatt(); }));
    f.blatt()->reject();
    p.oeffnenKnopf()->click();
    EXPECT_EQ(geoeffnet, 2);
}

// The panel opens beside its symbol wherever the desktop puts the symbol, never over it.
TEST(Menueleiste, PanelNebenSeinemSymbol) {
    const QSize panel(300, 400);
    struct Fall {
        const char* wo;
        QRect symbol, flaeche;
        QPoint ort;
    };
    const std::vector<Fall> faelle{
        {"Leiste oben", {1500, 0, 24, 24}, {0, 28, 1600, 972}, {1300, 24}},
        {"Leiste unten", {1500, 976, 24, 24}, {0, 0, 1600, 972}, {1300, 576}},
        {"links am Rand", {4, 976, 24, 24}, {0, 0, 1600, 972}, {4, 576}},
        {"Bildschirm zu niedrig", {10, 140, 24, 24}, {0, 0, 800, 300}, {34, 0}},
        {"Leiste rechts, zu niedrig", {776, 140, 24, 24}, {0, 0, 770, 300}, {476, 0}},
    };
    for (const auto& f : faelle) {
        const QPoint ort = panelOrt(f.symbol, panel, f.flaeche);
        EXPECT_EQ(ort, f.ort) << f.wo;
        EXPECT_FALSE(QRect(ort, panel).intersects(f.symbol)) << f.wo;
        EXPECT_GE(ort.x(), f.flaeche.left()) << f.wo;
    }
}

// check → tick → sheet → confirm → result bar → undo, on the windows the user sees
TEST(Hauptfenster, AufraeumenBisRueckgaengigMitDemPapierkorb) {
    Welt w;
    AppModell m(w.umfeld());
    Hauptfenster f(m, w.mac.home());
    Uhrwerk zeit;
    f.setzeBlattTeile({zeit.uhr(), {}});
    f.show();
    m.setzeSeite(Seite::aufraeumen);
    auto* seite = f.seite(Seite::aufraeumen);
    m.pruefen();
    ASSERT_TRUE(warte([&] { return m.katalogGeprueft().has_value(); }));

    // the phone backup goes to the Trash and is not preselected: tick it in its card
    const fs::path sicherung = w.mac.home() / "Library/Application Support/MobileSync/Backup/00008030-000A1B2C3D";
    ASSERT_TRUE(fs::exists(sicherung));
    bool getickt = false;
    for (auto* liste : seite->findChildren<FundListe*>())
        for (int z = 0; z < liste->rowCount(); ++z)
            if (liste->fund(z).url == sicherung)
                getickt = liste->setData(liste->index(z, FundListe::name), Qt::Checked, Qt::CheckStateRole);
    ASSERT_TRUE(getickt);
    // a rule's checkbox unticks all its findings and ticks them again
    auto* gruppe = seite->findChildren<QCheckBox*>().front();
    const auto& karteFunde = gruppe->parentWidget()->findChild<FundListe*>()->funde();
    const size_t vorher = m.auswahl().size();
    gruppe->click();
    if (gruppe->checkState() != Qt::Checked) gruppe->click();  // it was partly ticked: now all
    for (const auto& k : karteFunde) EXPECT_TRUE(m.istGewaehlt(k.url)) << k.url;
    gruppe->click();
    for (const auto& k : karteFunde) EXPECT_FALSE(m.istGewaehlt(k.url)) << k.url;
    EXPECT_LT(m.auswahl().size(), vorher);

    seite->findChild<AuswahlLeiste*>()->knopf()->click();
    ASSERT_TRUE(f.blatt());
    EXPECT_EQ(f.blatt()->auftrag().funde, m.katalogAusgewaehlt());
    *zeit.jetzt += 1s;
    f.blatt()->bestaetigen();
    ASSERT_TRUE(warte([&] { return m.letzteRunde().has_value() && !m.entsorgtGerade(); }));
    EXPECT_FALSE(f.blatt());
    EXPECT_FALSE(fs::exists(sicherung));
    EXPECT_TRUE(fs::exists(w.mac.papierkorb() / sicherung.filename()));
    EXPECT_FALSE(f.ergebnis()->isHidden());
    ASSERT_TRUE(f.ergebnis()->rueckgaengigKnopf()->isEnabled());

    f.ergebnis()->rueckgaengigKnopf()->click();
    ASSERT_TRUE(warte([&] { return fs::exists(sicherung); }));
    EXPECT_FALSE(fs::exists(w.mac.papierkorb() / sicherung.filename()));
    // the bar follows the round the model re-reads once everything is back
    ASSERT_TRUE(warte([&] { return !f.ergebnis()->rueckgaengigKnopf()->isEnabled(); }));
    EXPECT_TRUE(std::all_of(m.letzteRunde()->posten.begin(), m.letzteRunde()->posten.end(),
                            [](const Posten& p) { return !p.imPapierkorb || p.zurueckgelegt; }));
}

}  // namespace
}  // namespace hainbrem::test
