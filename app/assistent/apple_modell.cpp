// The on-device model of macOS behind the Swift functions of plattform/sprachmodell_c.h. Built
// only on macOS and never in this workplace. The Swift side calls back on its own threads; every
// callback hops to this session's thread before it touches anything.
#include "app/assistent/apple_modell.hpp"

#include <QObject>

#include "plattform/sprachmodell_c.h"

namespace hainbrem {

namespace {

class AppleSitzung : public QObject, public Sitzung {
public:
    AppleSitzung(const std::string& anweisungen, std::vector<std::unique_ptr<Werkzeug>> werkzeuge)
        : werkzeuge_(std::move(werkzeuge)), h_(hb_sitzung_neu(anweisungen.c_str(), &AppleSitzung::ruf, this)) {
        for (const auto& w : werkzeuge_) {
            hb_werkzeug_dazu(h_, std::string(w->name()).c_str(), std::string(w->beschreibung()).c_str());
            for (const Argument& a : w->argumente())
                hb_argument_dazu(h_, a.name.c_str(), a.liste ? 1 : 0, a.fuehrung.c_str());
        }
        bereit_ = hb_sitzung_start(h_) != 0;
    }
    ~AppleSitzung() override { hb_sitzung_frei(h_); }  // no callback after this

    void antworte(const std::string& frage, Schnappschuss teil, Ende ende) override {
        teil_ = std::move(teil);
        ende_ = std::move(ende);
        if (!bereit_) return endeC(this, 2, "Das Sprachmodell nahm Hainbrems Werkzeuge nicht an.");
        hb_sitzung_frage(h_, frage.c_str(), &AppleSitzung::teilC, &AppleSitzung::endeC);
    }

private:
    static void ruf(void* k, long werkzeug, const char* argumente, long aufruf) {
        auto* s = static_cast<AppleSitzung*>(k);
        QMetaObject::invokeMethod(
            s,
            [s, werkzeug, args = std::string(argumente ? argumente : "{}"), aufruf] {
                Werkzeug& w = *s->werkzeuge_.at(static_cast<size_t>(werkzeug));
                if (s->werkzeugMeldung) s->werkzeugMeldung(std::string(w.name()));
                w.rufe(args, [aufruf](std::string text) { hb_werkzeug_antwort(aufruf, text.c_str()); });
            },
            Qt::QueuedConnection);
    }
    static void teilC(void* k, const char* text) {
        auto* s = static_cast<AppleSitzung*>(k);
        QMetaObject::invokeMethod(
            s,
            [s, t = std::string(text ? text : "")] {
                if (s->teil_) s->teil_(t);
            },
            Qt::QueuedConnection);
    }
    static void endeC(void* k, int fehler, const char* beschreibung) {
        auto* s = static_cast<AppleSitzung*>(k);
        std::optional<KiFehler> f;
        if (fehler != 0)
            f = KiFehler{fehler == 1 ? KiFehler::Art::kontextVoll : KiFehler::Art::anderer,
                         beschreibung ? beschreibung : ""};
        QMetaObject::invokeMethod(
            s,
            [s, f] {
                if (auto e = std::move(s->ende_)) e(f);
            },
            Qt::QueuedConnection);
    }

    std::vector<std::unique_ptr<Werkzeug>> werkzeuge_;
    void* h_;
    bool bereit_ = false;
    Schnappschuss teil_;
    Ende ende_;
};

class AppleModell : public Sprachmodell {
public:
    void pruefe(std::function<void(Verfuegbarkeit)> fertig) override {
        switch (hb_modell_verfuegbarkeit()) {
            case 0:
                return fertig({true, "Apple Intelligence auf diesem Mac – nichts verlässt das Gerät."});
            case 1:
                return fertig({false, "Dieser Mac unterstützt Apple Intelligence nicht."});
            case 2:
                return fertig({false,
                               "Apple Intelligence ist ausgeschaltet. Einschalten unter Systemeinstellungen → "
                               "Apple Intelligence & Siri."});
            case 3:
                return fertig({false, "Das Sprachmodell wird gerade noch geladen. Versuch es gleich noch einmal."});
            default:
                return fertig({false, "Das Sprachmodell ist gerade nicht verfügbar."});
        }
    }
    std::unique_ptr<Sitzung> sitzung(const std::string& anweisungen,
                                     std::vector<std::unique_ptr<Werkzeug>> werkzeuge) override {
        return std::make_unique<AppleSitzung>(anweisungen, std::move(werkzeuge));
    }
};

}  // namespace

std::unique_ptr<Sprachmodell> appleModell() { return std::make_unique<AppleModell>(); }

}  // namespace hainbrem
