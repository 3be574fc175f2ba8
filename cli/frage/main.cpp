// hainbrem-frage: the assistant without a window, started by `hainbrem frage`. The same session,
// tools and guard as the desktop page: the answer streams to stdout, each tool the assistant
// uses is named on stderr, and its proposal goes through the same confirmation and round as
// every other removing command. While the model still reads, a terminal shows it on stderr;
// Ctrl-C stops the answer.
#include <fcntl.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTimer>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>

#include "app/assistent/assistent.hpp"
#include "app/assistent/openai.hpp"
#include "basis/zeichen.hpp"
#include "cli/ausgabe.hpp"
#include "cli/runde.hpp"
#include "kern/heim.hpp"
#include "kern/safetyguard.hpp"
#include "kern/verlauf.hpp"
#include "plattform/plattform.hpp"

namespace {

int signalRohr[2] = {-1, -1};

void beiSignal(int) {
    const char c = 1;
    [[maybe_unused]] const auto n = ::write(signalRohr[1], &c, 1);
}

constexpr int abgebrochenStatus = 130;  // as a shell reports a program ended by Ctrl-C

constexpr const char* hilfe =
    "Eine Frage an den Assistenten auf einem lokalen Sprachmodell, im Terminal. Die Antwort kommt auf stdout,\n"
    "jedes Werkzeug, das er benutzt, steht auf stderr; was er vorschlägt, bestätigst du wie beim Aufräumen.\n"
    "Gestartet wird es meist von „hainbrem frage“.\n"
    "Aufruf: hainbrem-frage [OPTIONEN] [--] TEXT...\n"
    "\n"
    "Argumente:\n"
    "  TEXT ... NÖTIG             Die Frage (Anführungszeichen nicht nötig)\n"
    "\n"
    "Optionen:\n"
    "  -h,--help,--hilfe           Diese Hilfe zeigen\n"
    "  --adresse URL               Adresse des Sprachmodells (sonst die Einstellung kiAdresse)\n"
    "  --modell NAME               Name des Modells (sonst kiModell, sonst das erste dort)\n"
    "  --probelauf                 Nur zeigen, was mit den Vorschlägen geschähe; nichts anfassen\n"
    "  --ja                        Vorschläge ohne Rückfrage ausführen\n"
    "  --json                      Maschinenlesbare Ausgabe (JSON) auf stdout\n"
    "  --profil macos|linux        Orte von Katalog und Wächter (Vorgabe: dieses System)\n";

int falsch(const std::string& text) {
    hainbrem::cli::fehler(text);
    std::fprintf(stderr, "Mehr dazu: hainbrem-frage --help\n");
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    using namespace hainbrem;
    std::setlocale(LC_ALL, "");
    cli::Kontext k;
    cli::RundenWahl wahl;
    std::optional<QString> adresse, modellName;
    QString frage;
    // read before Qt starts: help and mistakes need no event loop
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        const auto wert = [&]() -> std::optional<QString> {
            if (i + 1 >= argc) return std::nullopt;
            return QString::fromLocal8Bit(argv[++i]);
        };
        if (a == "-h" || a == "--help" || a == "--hilfe") {
            std::fputs(hilfe, stdout);
            return 0;
        }
        if (a == "--json") {
            k.json = true;
        } else if (a == "--ja") {
            wahl.ja = true;
        } else if (a == "--probelauf") {
            wahl.probelauf = true;
        } else if (a == "--adresse" || a == "--modell" || a == "--profil") {
            const auto w = wert();
            const char* art = a == "--adresse" ? "URL" : a == "--modell" ? "NAME" : "macos|linux";
            if (!w) return falsch("Bei " + a + " fehlt der Wert: " + art + ".");
            if (a == "--adresse")
                adresse = *w;
            else if (a == "--modell")
                modellName = *w;
            else if (*w == QLatin1String("macos"))
                k.profil = Katalogprofil::macos;
            else if (*w == QLatin1String("linux"))
                k.profil = Katalogprofil::linuxDesktop;
            else
                return falsch("Ungültiger Wert für --profil: „" + w->toStdString() +
                              "“ – möglich sind macos und linux.");
        } else if (a == "--" || !a.starts_with('-')) {
            // the rest is the question, also without "--"
            QStringList worte;
            for (int j = a == "--" ? i + 1 : i; j < argc; ++j) worte << QString::fromLocal8Bit(argv[j]);
            frage = worte.join(' ');
            break;
        } else {
            return falsch("Die Option „" + a + "“ gibt es bei hainbrem-frage nicht.");
        }
    }
    if (frage.trimmed().isEmpty()) return falsch("„hainbrem-frage“ braucht TEXT: die Frage.");
    QCoreApplication app(argc, argv);
    auto heim = heimOrdner();
    if (!heim) return cli::fehler(heim.error()), 2;
    k.home = std::move(*heim);
    auto temp = SafetyGuard::benutzerTemp(k.home);
    k.temp = std::move(temp.ordner);
    k.tempHinweis = std::move(temp.hinweis);

    Umfeld umfeld;
    umfeld.home = k.home;
    umfeld.temp = k.temp;
    umfeld.profil = k.profil;
    umfeld.argumente = QStringList();                           // this program's arguments are no launch settings
    umfeld.melden = [](const plattform::Benachrichtigung&) {};  // a question in the terminal notifies nobody
    auto modell = std::make_unique<AppModell>(std::move(umfeld));
    Einstellungen& e = modell->einstellungen();
    auto* assistent = new Assistent(
        *modell, std::make_unique<OpenAiModell>(adresse.value_or(e.kiAdresse()), modellName.value_or(e.kiModell()),
                                                nullptr, geduldAus(e.speicher())));

    // Ctrl-C stops the answer (what came stays); a second one, or one before the question, ends at once
    bool abgebrochen = false;
    if (::pipe2(signalRohr, O_CLOEXEC | O_NONBLOCK) != 0) return cli::fehler("Keine Signalleitung zu haben.");
    QSocketNotifier signale(signalRohr[0], QSocketNotifier::Read);
    QObject::connect(&signale, &QSocketNotifier::activated, &app, [&] {
        char c;
        while (::read(signalRohr[0], &c, 1) == 1) {
        }
        if (std::exchange(abgebrochen, true)) std::_Exit(abgebrochenStatus);
        if (modell->kiDenkt())
            assistent->abbrechen();
        else
            QCoreApplication::quit();
    });
    struct sigaction sa {};
    sa.sa_handler = beiSignal;
    ::sigemptyset(&sa.sa_mask);
    ::sigaction(SIGINT, &sa, nullptr);

    // first whether anyone is there: a clear message instead of a failed answer
    const auto gefunden =
        QObject::connect(assistent, &Assistent::verfuegbarkeitGeaendert, &app, &QCoreApplication::quit);
    QCoreApplication::exec();
    QObject::disconnect(gefunden);
    if (abgebrochen) return abgebrochenStatus;
    if (!assistent->verfuegbarkeit()->verfuegbar) return cli::fehler(assistent->verfuegbarkeit()->text);
    if (!k.json) std::fprintf(stderr, "%s\n", assistent->verfuegbarkeit()->text.c_str());

    // what the model does before its first word, in one line on a terminal
    cli::Fortschritt zeile;
    std::string gezeigt;
    auto zeigeFortgang = [&] {
        const Fortgang& f = assistent->fortgang();
        const bool amZeilenanfang = gezeigt.empty() || gezeigt.ends_with('\n');
        if (k.json || !modell->kiDenkt() || f.phase == Fortgang::Phase::antwortet || !amZeilenanfang)
            return zeile.fertig();
        zeile.zeige(Assistent::fortgangText(f, std::chrono::steady_clock::now() - assistent->fortgangSeit()) +
                    "  (Strg+C bricht ab)");
    };
    QObject::connect(assistent, &Assistent::fortgangGeaendert, &app, zeigeFortgang);
    QTimer uhr;
    QObject::connect(&uhr, &QTimer::timeout, &app, zeigeFortgang);
    uhr.start(1000);

    std::vector<std::string> werkzeuge;
    QObject::connect(assistent, &Assistent::werkzeugGerufen, &app, [&](const QString& name) {
        werkzeuge.push_back(name.toStdString());
        zeile.fertig();
        if (!k.json) std::fprintf(stderr, "→ %s\n", sichtbar(name.toStdString()).c_str());
    });
    // the answer grows as snapshots; the terminal gets what is new
    auto antwort = [&]() -> std::string {
        const auto& n = modell->unterhaltung();
        return n.empty() || n.back().vonMir ? std::string() : n.back().text;
    };
    QObject::connect(modell.get(), &AppModell::unterhaltungGeaendert, &app, [&] {
        if (k.json) return;
        const std::string jetzt = antwort();
        if (jetzt == gezeigt) return;
        zeile.fertig();
        // the model's words may hold anything: no escape sequence reaches the terminal
        if (jetzt.starts_with(gezeigt))
            std::fputs(sichtbar(std::string_view(jetzt).substr(gezeigt.size()), true).c_str(), stdout);
        else  // replaced, e.g. by what went wrong
            std::printf("\n%s", sichtbar(jetzt, true).c_str());
        gezeigt = jetzt;
        std::fflush(stdout);
    });
    QObject::connect(assistent, &Assistent::beantwortet, &app, &QCoreApplication::quit);
    assistent->fragen(frage.toStdString());
    if (!modell->kiDenkt()) {
        cli::fehler("Keine Frage angegeben.");
        return 2;
    }
    QCoreApplication::exec();
    uhr.stop();
    zeile.fertig();

    const std::string text = antwort();
    const Assistent::Hinweis* hinweis =
        modell->unterhaltung().empty() ? nullptr : assistent->hinweis(modell->unterhaltung().back().id);
    const bool abgeschnitten = hinweis && hinweis->art == KiFehler::Art::abgeschnitten;
    const bool gescheitert = text.starts_with(Assistent::schiefText) || text == Assistent::zuLangText ||
                             text == Assistent::abgeschnittenLeerText;
    const std::vector<Fund> vorschlag = modell->kiVorschlag();
    if (k.json) {
        cli::json funde = cli::json::array();
        for (const auto& f : vorschlag) funde.push_back(cli::alsJson(f));
        cli::druckeJson({{"frage", frage.toStdString()},
                         {"antwort", text},
                         {"abgeschnitten", abgeschnitten},
                         {"abgebrochen", abgebrochen},
                         {"werkzeuge", werkzeuge},
                         {"vorschlag", funde}});
    } else {
        std::printf("\n");
        std::fflush(stdout);
        if (hinweis) std::fprintf(stderr, "%s\n", sichtbar(hinweis->text, true).c_str());
    }
    // the model holds the history file too; it is done before the round writes it
    modell.reset();
    if (abgebrochen) return abgebrochenStatus;  // nothing is carried out of an answer cut short by hand
    if (vorschlag.empty()) return gescheitert || abgeschnitten ? 1 : 0;
    if (!k.json) std::printf("\nDer Assistent schlägt vor:\n");
    Verlauf verlauf(Verlauf::standardDatei(k.home));
    cli::warneUnlesbar(verlauf);
    return cli::fuehreRundeAus(vorschlag, Assistent::vorschlagTitel, wahl, k, verlauf);
}
