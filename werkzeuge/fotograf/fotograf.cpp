#include "fotograf.hpp"

#include <QApplication>
#include <QDir>
#include <QTimer>
#include <deque>
#include <functional>
#include <memory>

#include "app/fenster/design.hpp"
#include "app/fenster/einstellungsfenster.hpp"
#include "app/fenster/hauptfenster.hpp"
#include "app/fenster/menueleiste.hpp"
#include "app/modell/appmodell.hpp"

namespace hainbrem {

namespace {

struct Ablauf {
    std::deque<std::function<bool()>> schritte;  // each answers true when it is done
    QTimer takt;
};

bool sichern(QWidget& w, const QString& ordner, const QString& name) {
    return w.grab().save(QDir(ordner).filePath(name + QStringLiteral(".png")));
}

}  // namespace

void fotografieren(AppModell& m, Hauptfenster& f, EinstellungenAnsicht& e, MenueleistenAnsicht& panel,
                   const QString& ziel) {
    const QString ordner = ziel;
    QDir().mkpath(ordner);
    auto a = std::make_shared<Ablauf>();
    auto& s = a->schritte;
    auto ruhig = [&m] {
        return !m.katalogLaeuft() && !m.scanLaeuft() && !m.duplikateLaeuft() && !m.programmeLaeuft() &&
               !m.bauLaeuft() && !m.tricksLaeuft() && !m.entsorgtGerade();
    };
    auto seite = [&](Seite welche, QString name) {
        s.push_back([&m, welche] {
            m.setzeSeite(welche);
            return true;
        });
        s.push_back([&f, ordner, name] { return sichern(f, ordner, name); });
    };
    // every page before anything ran: what they say before the first check and scan
    s.push_back([&m] { return !m.katalogLaeuft() && !m.scanLaeuft(); });
    for (const Seite x : alleSeiten)
        if (x != Seite::assistent) seite(x, QString::fromUtf8(id(x).data()) + QStringLiteral("-leer"));
    s.push_back([&m] {
        m.pruefen();
        m.tiefenscan();
        return true;
    });
    s.push_back([&m, ruhig] { return ruhig() && m.katalogGeprueft() && m.scan(); });
    s.push_back([&m] {
        m.duplikateSuchen();
        m.programmeLaden();
        m.projekteSuchen();
        m.tricksLaden();
        return true;
    });
    s.push_back(ruhig);
    auto fenster = [&](QString zusatz) {
        for (const Seite x : alleSeiten) seite(x, QString::fromUtf8(id(x).data()) + zusatz);
        s.push_back([&panel, ordner, zusatz] {
            panel.adjustSize();
            return sichern(panel, ordner, QStringLiteral("panel") + zusatz);
        });
        s.push_back([&e] {
            e.show();
            e.adjustSize();
            return true;
        });
        s.push_back([&e, ordner, zusatz] { return sichern(e, ordner, QStringLiteral("einstellungen") + zusatz); });
    };
    // only what lies in the sample home and its temp folder goes, never anything of the machine
    auto bestellen = [&m] {
        const auto u = m.umgebung();
        auto drin = [&u](const Fund& x) {
            for (const auto& ort : {u.home, u.temp})
                if (!ort.empty() && x.url.native().starts_with(ort.native() + "/")) return true;
            return false;
        };
        std::vector<Fund> funde;
        for (const auto& x : m.katalogAusgewaehlt())
            if (drin(x)) funde.push_back(x);
        if (m.scan() && !m.scan()->grosse.empty() && drin(alsFund(m.scan()->grosse.front())))
            funde.push_back(alsFund(m.scan()->grosse.front()));
        m.setzeSeite(Seite::aufraeumen);
        m.bitte(std::move(funde), "Aufräumen");
        return true;
    };
    // the sheet for uninstalling a package's program with its preselected leftovers: only shown
    auto deinstallieren = [&](QString zusatz) {
        s.push_back([&m] {
            for (const auto& p : m.programme())
                if (p.herkunft == Herkunft::flatpak || p.herkunft == Herkunft::snap) {
                    std::vector<Fund> reste;
                    for (const auto& r : p.reste)
                        if (r.vorgewaehlt) reste.push_back(r);
                    m.setzeSeite(Seite::programme);
                    m.bitte(Programme::deinstallation(p, reste), "Deinstallieren: " + p.name);
                    break;
                }
            return true;
        });
        s.push_back([&f] { return !f.blatt() || f.blatt()->bereit(); });
        s.push_back([&f, ordner, zusatz] {
            return !f.blatt() || sichern(*f.blatt(), ordner, QStringLiteral("blatt-deinstallieren") + zusatz);
        });
        s.push_back([&f] {
            if (f.blatt()) f.blatt()->reject();
            return true;
        });
    };
    deinstallieren({});
    // a mixed order: the selected catalog findings and the largest file
    s.push_back(bestellen);
    s.push_back([&f] { return f.blatt() && f.blatt()->bereit(); });
    s.push_back([&f, ordner] { return sichern(*f.blatt(), ordner, QStringLiteral("blatt")); });
    s.push_back([&f] {
        f.blatt()->bestaetigen();
        return true;
    });
    s.push_back([&m, ruhig] { return ruhig() && m.letzteRunde(); });
    s.push_back([&f, ordner] { return sichern(f, ordner, QStringLiteral("ergebnis")); });
    s.push_back([&m] {
        m.setzeSeite(Seite::verlauf);
        return true;
    });
    s.push_back([&f, ordner] { return sichern(f, ordner, QStringLiteral("verlauf-runde")); });
    // undo, and every page after the whole round, with the bar of the round put back
    s.push_back([&m] {
        if (m.letzteRunde()) m.rueckgaengig(m.letzteRunde()->id);
        return true;
    });
    s.push_back([&m, ruhig] { return ruhig() && m.letzteRunde() && !m.letzteRunde()->kannRueckgaengig(); });
    s.push_back([&f, ordner] { return sichern(f, ordner, QStringLiteral("verlauf-rueckgaengig")); });
    fenster({});
    // the same in dark, switched while everything is open, with the round's bar above each page
    s.push_back([] {
        design::erscheinungAnwenden(*qApp, QStringLiteral("dunkel"));
        return true;
    });
    fenster(QStringLiteral("-dunkel"));
    deinstallieren(QStringLiteral("-dunkel"));
    s.push_back([&m] {  // only shown, then cancelled
        std::vector<Fund> funde;
        for (const auto& r : m.katalog()) funde.insert(funde.end(), r.funde.begin(), r.funde.end());
        if (m.scan() && !m.scan()->grosse.empty()) funde.push_back(alsFund(m.scan()->grosse.front()));
        m.bitte(std::move(funde), "Aufräumen");
        return true;
    });
    s.push_back([&f] { return !f.blatt() || f.blatt()->bereit(); });
    s.push_back([&f, ordner] { return !f.blatt() || sichern(*f.blatt(), ordner, QStringLiteral("blatt-dunkel")); });
    s.push_back([&f] {
        if (f.blatt()) f.blatt()->reject();
        return true;
    });
    // and back to light
    s.push_back([&m] {
        design::erscheinungAnwenden(*qApp, QStringLiteral("hell"));
        m.setzeSeite(Seite::uebersicht);
        return true;
    });
    s.push_back([&f, ordner] { return sichern(f, ordner, QStringLiteral("uebersicht-wieder-hell")); });
    s.push_back([] {
        QApplication::quit();
        return true;
    });

    a->takt.setInterval(300);
    QObject::connect(&a->takt, &QTimer::timeout, &f, [a] {
        // one step per tick, so every page is laid out and painted before its picture
        if (!a->schritte.empty() && a->schritte.front()()) a->schritte.pop_front();
    });
    a->takt.start();
    // the timer's owner is the shared state itself; keep it alive with the window
    QObject::connect(&f, &QObject::destroyed, [a] { a->takt.stop(); });
}

}  // namespace hainbrem
