// hainbrem-frage: the assistant without a window, started by `hainbrem frage`. The same session,
// tools and guard as the desktop page: the answer streams to stdout, each tool the assistant
// uses is named on stderr, and its proposal goes through the same confirmation and round as
// every other removing command.
#include <unistd.h>

#include <QCoreApplication>
#include <clocale>
#include <cstdio>
#include <memory>
#include <optional>

#include "app/assistent/assistent.hpp"
#include "app/assistent/openai.hpp"
#include "cli/ausgabe.hpp"
#include "cli/runde.hpp"
#include "kern/safetyguard.hpp"
#include "kern/verlauf.hpp"
#include "plattform/plattform.hpp"

int main(int argc, char** argv) {
    using namespace hainbrem;
    QCoreApplication app(argc, argv);
    std::setlocale(LC_ALL, "");
    cli::Kontext k;
    cli::RundenWahl wahl;
    std::optional<QString> adresse, modellName;
    QString frage;
    const QStringList argumente = QCoreApplication::arguments();
    for (qsizetype i = 1; i < argumente.size(); ++i) {
        const QString& a = argumente[i];
        if (a == QLatin1String("--json"))
            k.json = true;
        else if (a == QLatin1String("--ja"))
            wahl.ja = true;
        else if (a == QLatin1String("--probelauf"))
            wahl.probelauf = true;
        else if (a == QLatin1String("--adresse") && i + 1 < argumente.size())
            adresse = argumente[++i];
        else if (a == QLatin1String("--modell") && i + 1 < argumente.size())
            modellName = argumente[++i];
        else if (a == QLatin1String("--profil") && i + 1 < argumente.size())
            k.profil = argumente[++i] == QLatin1String("macos") ? Katalogprofil::macos : Katalogprofil::linuxDesktop;
        else if (a == QLatin1String("--"))
            frage = argumente.mid(i + 1).join(' ');
        else {
            cli::fehler("Unerwartete Angabe „" + a.toStdString() + "“.");
            return 2;
        }
        if (a == QLatin1String("--")) break;
    }
    k.home = plattform::heimOrdner();
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
        *modell, std::make_unique<OpenAiModell>(adresse.value_or(e.kiAdresse()), modellName.value_or(e.kiModell())));

    // first whether anyone is there: a clear message instead of a failed answer
    QObject::connect(assistent, &Assistent::verfuegbarkeitGeaendert, &app, &QCoreApplication::quit);
    QCoreApplication::exec();
    if (!assistent->verfuegbarkeit()->verfuegbar) return cli::fehler(assistent->verfuegbarkeit()->text);
    if (!k.json) std::fprintf(stderr, "%s\n", assistent->verfuegbarkeit()->text.c_str());

    std::vector<std::string> werkzeuge;
    QObject::connect(assistent, &Assistent::werkzeugGerufen, &app, [&](const QString& name) {
        werkzeuge.push_back(name.toStdString());
        if (!k.json) std::fprintf(stderr, "→ %s\n", qPrintable(name));
    });
    // the answer grows as snapshots; the terminal gets what is new
    std::string gezeigt;
    auto antwort = [&]() -> std::string {
        const auto& n = modell->unterhaltung();
        return n.empty() || n.back().vonMir ? std::string() : n.back().text;
    };
    QObject::connect(modell.get(), &AppModell::unterhaltungGeaendert, &app, [&] {
        if (k.json) return;
        const std::string jetzt = antwort();
        if (jetzt.starts_with(gezeigt))
            std::fputs(jetzt.c_str() + gezeigt.size(), stdout);
        else  // replaced, e.g. by what went wrong
            std::printf("\n%s", jetzt.c_str());
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

    const std::string text = antwort();
    const bool gescheitert = text.starts_with(Assistent::schiefText) || text == Assistent::zuLangText;
    const std::vector<Fund> vorschlag = modell->kiVorschlag();
    if (k.json) {
        cli::json funde = cli::json::array();
        for (const auto& f : vorschlag) funde.push_back(cli::alsJson(f));
        cli::druckeJson(
            {{"frage", frage.toStdString()}, {"antwort", text}, {"werkzeuge", werkzeuge}, {"vorschlag", funde}});
    } else {
        std::printf("\n");
    }
    // the model holds the history file too; it is done before the round writes it
    modell.reset();
    if (vorschlag.empty()) return gescheitert ? 1 : 0;
    if (!k.json) std::printf("\nDer Assistent schlägt vor:\n");
    Verlauf verlauf(Verlauf::standardDatei(k.home));
    cli::warneUnlesbar(verlauf);
    return cli::fuehreRundeAus(vorschlag, Assistent::vorschlagTitel, wahl, k, verlauf);
}
