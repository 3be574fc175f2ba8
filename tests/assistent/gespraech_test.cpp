// The conversation against a fake local model server that speaks like llama.cpp and Ollama:
// stream shapes, tool calls, failures, the context overflow (grown and fresh), cut-off answers,
// servers without tool support, errors inside the stream, long silence before the first word,
// stopping an answer, one question at a time, and no address off this device.
#include <gtest/gtest.h>

#include <QNetworkAccessManager>

#include "../modell/welt.hpp"
#include "app/assistent/assistent.hpp"
#include "app/assistent/openai.hpp"
#include "falscher_server.hpp"

namespace hainbrem::test {
namespace {

// Short waits, so silence is tried in milliseconds.
constexpr Geduld kurz{.lesenMs = 400, .stilleMs = 400, .probeMs = 400};

struct Gespraech {
    explicit Gespraech(FalscherServer::Art art = FalscherServer::Art::llamaCpp, Geduld geduld = {})
        : server({"testmodell"}, art),
          a(new Assistent(m, std::make_unique<OpenAiModell>(server.adresse(), QString(), nullptr, geduld))) {
        QObject::connect(&m, &AppModell::unterhaltungGeaendert, [this] {
            if (!m.unterhaltung().empty()) schnappschuesse.push_back(m.unterhaltung().back().text);
        });
        QObject::connect(a, &Assistent::fortgangGeaendert, [this] {
            if (phasen.empty() || phasen.back() != a->fortgang()) phasen.push_back(a->fortgang());
        });
    }
    Welt w;
    FalscherServer server;
    AppModell m{w.umfeld()};
    Assistent* a;
    std::vector<std::string> schnappschuesse;
    std::vector<Fortgang> phasen;

    // Asks and waits for the answer; its text.
    std::string frage(const std::string& text) {
        a->fragen(text);
        EXPECT_TRUE(warte([&] { return !m.kiDenkt(); }));
        return m.unterhaltung().back().text;
    }
    bool verfuegbar() {
        EXPECT_TRUE(warte([&] { return a->verfuegbarkeit().has_value(); }));
        return a->verfuegbarkeit() && a->verfuegbarkeit()->verfuegbar;
    }
    const Assistent::Hinweis* hinweis() const { return a->hinweis(m.unterhaltung().back().id); }
    QJsonArray nachrichten(int anfrage) const { return server.anfragen.at(anfrage)["messages"].toArray(); }
};

std::string schief(const std::string& text) { return Assistent::schiefText + text; }

TEST(Gespraech, TextInStueckenWaechstAlsSchnappschuss) {
    Gespraech g;
    Skript s = antwort({"Deine Platte ", "ist zu 80 % ", "voll."});
    for (auto& st : s.stuecke) st.pauseMs = 100;  // apart enough to arrive apart on a busy machine
    g.server.skripte.push_back(s);
    EXPECT_EQ(g.frage("  Warum ist meine Platte so voll?\n"), "Deine Platte ist zu 80 % voll.");
    // each snapshot is the whole answer so far
    ASSERT_GE(g.schnappschuesse.size(), 3u);
    EXPECT_EQ(g.schnappschuesse.front(), "");
    EXPECT_EQ(g.schnappschuesse.back(), "Deine Platte ist zu 80 % voll.");
    for (size_t i = 1; i < g.schnappschuesse.size(); ++i)
        EXPECT_TRUE(g.schnappschuesse[i].starts_with(g.schnappschuesse[i - 1]) &&
                    g.schnappschuesse[i] != g.schnappschuesse[i - 1]);
    ASSERT_EQ(g.m.unterhaltung().size(), 2u);
    EXPECT_EQ(g.m.unterhaltung()[0].text, "Warum ist meine Platte so voll?");
    EXPECT_EQ(g.hinweis(), nullptr);
    const QJsonObject anfrage = g.server.anfragen.at(0);
    EXPECT_EQ(anfrage["model"].toString(), "testmodell");  // the first the server lists
    EXPECT_TRUE(anfrage["stream"].toBool());
    EXPECT_TRUE(anfrage["return_progress"].toBool());
    EXPECT_EQ(g.nachrichten(0).at(0)["content"].toString().toStdString(), Assistent::anweisungen);
    QStringList namen;
    for (const QJsonValue t : anfrage["tools"].toArray()) namen << t["function"]["name"].toString();
    EXPECT_EQ(namen.join(","), "plattenstand,aufraeumFunde,groessteOrdner,erklaere,auswaehlen");
}

// How the real servers cut their streams; each ends in the same answer.
TEST(Gespraech, StromformenDerEchtenServer) {
    const QByteArray groesse = text("Größe: 3 GB");
    const qsizetype mitte = groesse.indexOf("ö") + 1;  // inside the two bytes of "ö"
    struct Fall {
        const char* name;
        FalscherServer::Art art;
        QList<Stueck> stuecke;
    };
    const std::vector<Fall> faelle{
        {"llama.cpp wie gewohnt",
         FalscherServer::Art::llamaCpp,
         {anfang() + text("Größe: "), text("3 GB"), schluss(), fertig()}},
        {"alle Ereignisse in einem Stück",
         FalscherServer::Art::llamaCpp,
         {anfang() + text("Größe: ") + text("3 GB") + schluss() + fertig()}},
        {"ein Ereignis über zwei Stücke, mitten im Umlaut",
         FalscherServer::Art::llamaCpp,
         {anfang(), groesse.left(mitte), groesse.mid(mitte), schluss(), fertig()}},
        {"Kommentare zum Wachhalten",
         FalscherServer::Art::llamaCpp,
         {ping(), ping() + anfang(), text("Größe: ") + ping(), text("3 GB"), ping(), schluss(), fertig()}},
        {"Fortschritt beim Lesen",
         FalscherServer::Art::llamaCpp,
         {fortschritt(2400, 1024), fortschritt(2400, 2400), anfang() + text("Größe: 3 GB"), schluss(), fertig()}},
        {"Gedanken bleiben draußen",
         FalscherServer::Art::llamaCpp,
         {anfang() + gedanke("Der Nutzer will "), gedanke("die Größe."), text("Größe: 3 GB"), schluss(), fertig()}},
        {"Zeilenenden mit CR",
         FalscherServer::Art::llamaCpp,
         {QByteArray(anfang() + text("Größe: 3 GB")).replace("\n", "\r\n"), schluss().replace("\n", "\r\n"), fertig()}},
        {"Verbrauch in einem letzten Ereignis ohne Wahl",
         FalscherServer::Art::llamaCpp,
         {anfang() + text("Größe: 3 GB"), schluss(),
          daten({{"choices", QJsonArray()}, {"usage", QJsonObject{{"prompt_tokens", 1412}}}}), fertig()}},
        {"Ollama",
         FalscherServer::Art::ollama,
         {ollama("Größe: "), ollama("3 GB"), ollama("", QString("stop")) + fertig()}},
        {"Ollama mit Gedanken",
         FalscherServer::Art::ollama,
         {ollama("", QJsonValue::Null, {}, "Hm, die Größe."), ollama("Größe: 3 GB"),
          ollama("", QString("stop")) + fertig()}},
    };
    for (const Fall& f : faelle) {
        Gespraech g(f.art);
        g.server.skripte.push_back({200, f.stuecke});
        EXPECT_EQ(g.frage("Wie groß?"), "Größe: 3 GB") << f.name;
        EXPECT_EQ(g.hinweis(), nullptr) << f.name;
        // what the model is told it said: the answer, never its thoughts
        g.server.skripte.push_back(antwort({"Ja."}));
        g.frage("Sicher?");
        EXPECT_EQ(g.nachrichten(1).at(2)["content"].toString(), "Größe: 3 GB") << f.name;
    }
}

// The model list and the questions go over one kept-alive connection; llama.cpp is also asked
// whether it takes tools, and that question is dropped with its connection.
TEST(Gespraech, EineVerbindungFuerListeUndFragen) {
    for (const auto art : {FalscherServer::Art::llamaCpp, FalscherServer::Art::ollama}) {
        Gespraech g(art);
        ASSERT_TRUE(g.verfuegbar());
        g.server.skripte.push_back(antwort({"Eins."}));
        g.server.skripte.push_back(antwort({"Zwei."}));
        EXPECT_EQ(g.frage("Erste"), "Eins.");
        EXPECT_EQ(g.frage("Zweite"), "Zwei.");
        const bool llama = art == FalscherServer::Art::llamaCpp;
        EXPECT_EQ(g.server.proben, llama ? 1 : 0);
        EXPECT_EQ(g.server.verbindungen, llama ? 2 : 1);
    }
}

TEST(Gespraech, WerkzeugaufrufeInBeidenStromformen) {
    const QString weg = "~/gibts/nicht";
    const std::string wegText = "~/gibts/nicht gibt es nicht.";
    struct Fall {
        const char* name;
        FalscherServer::Art art;
        Skript skript;
        std::vector<std::pair<QString, std::string>> ergebnisse;  // tool_call_id → the tool's answer (its start)
    };
    // Ollama: the whole call in one delta, the turn closed with `grund`
    auto ollamaZug = [&](const QString& id, const char* grund) {
        return Skript{200,
                      {ollama("", QJsonValue::Null, {ollamaAufruf(0, id, "erklaere", "{\"pfad\":\"" + weg + "\"}")}),
                       ollama("", QString(grund)) + fertig()}};
    };
    const std::vector<Fall> faelle{
        {"llama.cpp: Argumente in Stücken",
         FalscherServer::Art::llamaCpp,
         aufrufe({aufruf(0, "a1", "erklaere", ""), aufruf(0, "", "", "{\"pfad\": \"~/gibts"),
                  aufruf(0, "", "", "/nicht\"}")}),
         {{"a1", wegText}}},
        {"Ollama: ganzer Aufruf in einem Stück",
         FalscherServer::Art::ollama,
         ollamaZug("call_o1", "tool_calls"),
         {{"call_o1", wegText}}},
        {"ältere Ollama: „stop“ nach dem Aufruf",
         FalscherServer::Art::ollama,
         ollamaZug("call_o2", "stop"),
         {{"call_o2", wegText}}},
        {"zwei Aufrufe in einem Zug",
         FalscherServer::Art::llamaCpp,
         aufrufe({aufruf(0, "z1", "erklaere", "{\"pfad\":\"" + weg + "\"}"),
                  aufruf(1, "z2", "auswaehlen", R"({"regelIDs":[],"pfade":[]})")}),
         {{"z1", wegText}, {"z2", "0 Funde ausgewählt (0 Byte)."}}},
        {"unbekanntes Werkzeug und kaputte Argumente",
         FalscherServer::Art::llamaCpp,
         aufrufe({aufruf(0, "u1", "loeschen", "{}"), aufruf(1, "u2", "erklaere", "{\"pfad\": ")}),
         {{"u1", "Ein Werkzeug „loeschen“ gibt es nicht."}, {"u2", "Die Argumente für „erklaere“ sind kein gültiges"}}},
    };
    for (const Fall& f : faelle) {
        Gespraech g(f.art);
        std::vector<std::string> gemeldet;
        QObject::connect(g.a, &Assistent::werkzeugGerufen,
                         [&](const QString& n) { gemeldet.push_back(n.toStdString()); });
        g.server.skripte.push_back(f.skript);
        g.server.skripte.push_back(antwort({"Erledigt."}));
        EXPECT_EQ(g.frage("Schau nach"), "Erledigt.") << f.name;
        ASSERT_EQ(g.server.anfragen.size(), 2) << f.name;
        const QJsonArray n = g.nachrichten(1);  // system, user, assistant with the calls, one answer per call
        ASSERT_EQ(n.size(), 3 + qsizetype(f.ergebnisse.size())) << f.name;
        EXPECT_EQ(n.at(2)["tool_calls"].toArray().size(), qsizetype(f.ergebnisse.size())) << f.name;
        EXPECT_EQ(gemeldet.size(), f.ergebnisse.size()) << f.name;
        for (size_t i = 0; i < f.ergebnisse.size(); ++i) {
            const QJsonValue antwort = n.at(qsizetype(3 + i));
            EXPECT_EQ(antwort["role"].toString(), "tool");
            EXPECT_EQ(antwort["tool_call_id"].toString(), f.ergebnisse[i].first) << f.name;
            EXPECT_TRUE(antwort["content"].toString().toStdString().starts_with(f.ergebnisse[i].second))
                << f.name << ": " << antwort["content"].toString().toStdString();
        }
    }
}

TEST(Gespraech, FortgangVomLesenBisZurAntwort) {
    Gespraech g;
    g.server.skripte.push_back({200,
                                {fortschritt(2000, 1000), anfang() + gedanke("Erst die Funde."),
                                 aufruf(0, "f1", "plattenstand", "{}"), schluss("tool_calls"), fertig()}});
    g.server.skripte.push_back(antwort({"Fertig."}));
    g.frage("Wie voll?");
    using P = Fortgang::Phase;
    const std::vector<Fortgang> erwartet{{P::liest},
                                         {P::liest, false, 0.5},
                                         {P::ueberlegt},
                                         {P::antwortet},
                                         {P::schautNach, false, -1, "plattenstand"},
                                         {P::liest, true},
                                         {P::antwortet}};
    EXPECT_EQ(g.phasen, erwartet);
    EXPECT_EQ(
        Assistent::fortgangText({P::liest, false, 0.37}, std::chrono::seconds(42)),
        "Das Modell liest deine Frage … 37 % · 0:42 – ein großes Modell braucht dafür auf dem Prozessor Minuten.");
    EXPECT_EQ(Assistent::fortgangText({P::liest, true}, std::chrono::milliseconds(300)),
              "Das Modell liest, was die Werkzeuge gefunden haben …");
}

TEST(Gespraech, AbbruchMittenImStromUndFehlerDesServers) {
    Gespraech g;
    g.server.skripte.push_back({200, {anfang() + text("Ich schaue ")}, true});
    EXPECT_EQ(g.frage("Was ist groß?"), schief("Die Verbindung zum Sprachmodell brach mitten in der Antwort ab."));
    g.server.skripte.push_back(fehlerAntwort(500, fehlerObjekt(500, "Modell abgestürzt")));
    EXPECT_EQ(g.frage("Noch einmal?"), schief("Das Sprachmodell meldet einen Fehler (HTTP 500): Modell abgestürzt."));
    // a failed question is not part of what the model is told next
    g.server.skripte.push_back(antwort({"Gut."}));
    g.frage("Und jetzt?");
    EXPECT_EQ(g.nachrichten(2).size(), 2);
    EXPECT_EQ(g.m.unterhaltung().size(), 6u);
    EXPECT_FALSE(g.m.kiDenkt());
}

// llama.cpp ends a stream with an error event and no "[DONE]", e.g. when the model's output
// breaks the format of a tool call; older builds used an "error:" field.
TEST(Gespraech, FehlerImStromAufDeutschMitDerMeldungDesServers) {
    const QString verschrieben = "Failed to parse input at pos 38: <tool_call>{\"name\": \"erklaere\"";
    const std::string formatText =
        "Der Server hat die Antwort abgebrochen, weil sich das Modell beim Aufruf eines Werkzeugs verschrieben hat. "
        "Frag einfach noch einmal, gern etwas anders formuliert.\nMeldung des Servers: „" +
        verschrieben.toStdString() + "“";
    struct Fall {
        const char* name;
        QList<Stueck> stuecke;
        std::string erwartet;
    };
    const std::vector<Fall> faelle{
        {"Werkzeugformat", {anfang() + text("Ich sehe nach"), fehlerEreignis(verschrieben)}, formatText},
        {"älteres Feld „error:“",
         {anfang(), "error: " + QJsonDocument(fehlerObjekt(500, verschrieben)).toJson(QJsonDocument::Compact) + "\n\n"},
         formatText},
        {"anderer Fehler",
         {anfang(), fehlerEreignis("slot unavailable")},
         "Der Server hat die Antwort mit einem Fehler abgebrochen. Frag noch einmal; kommt der Fehler wieder, steht "
         "mehr in der Ausgabe des Servers.\nMeldung des Servers: „slot unavailable“"},
    };
    for (const Fall& f : faelle) {
        Gespraech g;
        g.server.skripte.push_back({200, f.stuecke});
        EXPECT_EQ(g.frage("Was ist das?"), schief(f.erwartet)) << f.name;
        g.server.skripte.push_back(antwort({"Gut."}));
        g.frage("Noch einmal?");
        EXPECT_EQ(g.nachrichten(1).size(), 2) << f.name;  // the failed question is forgotten
    }
}

TEST(Gespraech, KontextVollFaengtNeuAnUndDerBildschirmBehaeltAlles) {
    // as a body (before the stream) and as an event in it (a server that sent its headers at once)
    QJsonObject voll =
        fehlerObjekt(400, "request (5000 tokens) exceeds the available context size (4096 tokens), try increasing it",
                     "exceed_context_size_error");
    voll["n_prompt_tokens"] = 5000;
    voll["n_ctx"] = 4096;
    for (const Skript& ueberlauf : {zuGross(5000, 4096), Skript{200, {daten({{"error", voll}})}}}) {
        Gespraech g;
        g.server.skripte.push_back(antwort({"Erste Antwort."}));
        g.frage("Erste Frage");
        g.server.skripte.push_back(ueberlauf);
        const auto* alteSitzung = g.a->sitzung();
        EXPECT_EQ(g.frage("Zweite Frage"), Assistent::zuLangText);
        EXPECT_NE(g.a->sitzung(), alteSitzung);
        g.server.skripte.push_back(antwort({"Dritte Antwort."}));
        g.frage("Dritte Frage");
        const QJsonArray n = g.nachrichten(2);
        ASSERT_EQ(n.size(), 2);  // the instructions and the new question only
        EXPECT_EQ(n.at(1)["content"].toString(), "Dritte Frage");
        EXPECT_EQ(g.m.unterhaltung().size(), 6u);
        EXPECT_EQ(g.m.unterhaltung()[1].text, "Erste Antwort.");
    }
}

// A fresh conversation that overflows fails the same way every time: that is a server with too
// little context, not a conversation that grew.
TEST(Gespraech, SchonDieErsteFrageZuGrossFuerDenKontext) {
    const std::string anfang = "Das Modell hat zu wenig Kontext für den Assistenten: Schon ";
    // on the port Hainbrem dials
    auto start = [](const char* n) {
        return std::string(
                   " Starte den Server mit mehr Kontext, bei llama.cpp etwa „llama-server -m modell.gguf "
                   "--port PORT --jinja -c ") +
               n + " -np 1“, bei Ollama „OLLAMA_CONTEXT_LENGTH=" + n + " ollama serve“.";
    };
    QJsonObject imStrom =
        fehlerObjekt(400, "request (2300 tokens) exceeds the available context size (2048 tokens), try increasing it",
                     "exceed_context_size_error");
    struct Fall {
        const char* name;
        std::vector<Skript> skripte;
        std::string erwartet;
    };
    const std::vector<Fall> faelle{
        {"llama.cpp mit Zahlen",
         {zuGross(5000, 4096)},
         anfang +
             "die Anweisungen, die Werkzeuge und deine Frage brauchen 5.000 Tokens, der Server gibt dem Modell "
             "aber nur 4.096 Tokens." +
             start("16384")},
        {"erst nach den Ergebnissen der Werkzeuge",
         {aufrufe({aufruf(0, "p1", "plattenstand", "{}")}), zuGross(2100, 2048)},
         anfang +
             "die Anweisungen, die Werkzeuge, deine Frage und die ersten Ergebnisse der Werkzeuge brauchen 2.100 "
             "Tokens, der Server gibt dem Modell aber nur 2.048 Tokens." +
             start("8192")},
        {"Zahlen nur in der Meldung, im Strom",
         {Skript{200, {daten({{"error", imStrom}})}}},
         anfang +
             "die Anweisungen, die Werkzeuge und deine Frage brauchen 2.300 Tokens, der Server gibt dem Modell "
             "aber nur 2.048 Tokens." +
             start("8192")},
        {"Ollama ohne Zahlen",
         {ollamaFehler(400, "the input length exceeds the context length")},
         anfang + "die Anweisungen, die Werkzeuge und deine Frage passen nicht hinein." + start("8192")},
    };
    for (const Fall& f : faelle) {
        Gespraech g;
        for (const auto& s : f.skripte) g.server.skripte.push_back(s);
        const QString erwartet = QString::fromStdString(schief(f.erwartet))
                                     .replace("PORT", QString::number(QUrl(g.server.adresse()).port()));
        EXPECT_EQ(g.frage("Warum ist meine Platte so voll?"), erwartet.toStdString()) << f.name;
        EXPECT_TRUE(g.verfuegbar()) << f.name;  // the model is there; only its context is short
    }
}

TEST(Gespraech, AbgeschnitteneAntwortBleibtMitHinweis) {
    struct Fall {
        const char* name;
        FalscherServer::Art art;
        Skript skript;
        std::string text;   // what stays on screen
        QString imVerlauf;  // what the model is told it said
    };
    const std::vector<Fall> faelle{
        {"mitten im Satz", FalscherServer::Art::llamaCpp,
         antwort({"Am meisten Platz belegen ", "die Caches von"}, "length"), "Am meisten Platz belegen die Caches von",
         "Am meisten Platz belegen die Caches von"},
        {"vor dem ersten Wort", FalscherServer::Art::llamaCpp, antwort({}, "length"), Assistent::abgeschnittenLeerText,
         ""},
        {"mitten in einem Werkzeugaufruf", FalscherServer::Art::llamaCpp,
         Skript{200, {anfang() + aufruf(0, "l1", "erklaere", "{\"pfad\": \"~/Libr"), schluss("length"), fertig()}},
         Assistent::abgeschnittenLeerText, ""},
        {"Ollama", FalscherServer::Art::ollama, ollamaAntwort({"Die größten Ordner sind"}, "length"),
         "Die größten Ordner sind", "Die größten Ordner sind"},
    };
    for (const Fall& f : faelle) {
        Gespraech g(f.art);
        g.server.skripte.push_back(f.skript);
        EXPECT_EQ(g.frage("Was belegt am meisten?"), f.text) << f.name;
        ASSERT_NE(g.hinweis(), nullptr) << f.name;
        EXPECT_EQ(g.hinweis()->art, KiFehler::Art::abgeschnitten);
        EXPECT_EQ(g.hinweis()->text, Assistent::abgeschnittenText);
        EXPECT_EQ(g.server.anfragen.size(), 1) << f.name;  // a call cut in the middle is not made
        // "weiter" goes on from what was cut off
        g.server.skripte.push_back(antwort({" deinen Programmen."}));
        g.frage("weiter");
        const QJsonArray n = g.nachrichten(1);
        ASSERT_EQ(n.size(), 4) << f.name;
        EXPECT_EQ(n.at(2)["role"].toString(), "assistant");
        EXPECT_EQ(n.at(2)["content"].toString(), f.imVerlauf) << f.name;
        EXPECT_EQ(g.hinweis(), nullptr) << f.name;
    }
}

// An old llama.cpp, one started without --jinja, or an Ollama model without tools: found out
// once, said in German, and the page shows the server as not usable until a check finds it changed.
TEST(Gespraech, ServerOhneWerkzeuge) {
    struct Fall {
        const char* name;
        FalscherServer::Art art;
        Skript verweigert;
        std::string anfang;
        bool mitStartbefehl;
    };
    const std::vector<Fall> faelle{
        {"llama.cpp vor b5478", FalscherServer::Art::llamaCpp,
         fehlerAntwort(500, fehlerObjekt(500, "Cannot use tools with stream")),
         "Dieser llama.cpp-Server ist zu alt für den Assistenten: Er kann keine Werkzeuge aufrufen, während er die "
         "Antwort schickt. Nimm llama.cpp ab Version b5478 (Mai 2025) und starte es mit --jinja.\nMeldung des Servers: "
         "„Cannot use tools with stream“",
         true},
        {"llama.cpp ohne --jinja", FalscherServer::Art::llamaCpp,
         fehlerAntwort(500, fehlerObjekt(500, "tools param requires --jinja flag")),
         "Der llama.cpp-Server läuft ohne --jinja und nimmt so keine Werkzeuge an. Starte ihn mit --jinja neu.\n"
         "Meldung des Servers: „tools param requires --jinja flag“",
         true},
        {"Ollama-Modell ohne Werkzeuge", FalscherServer::Art::ollama,
         ollamaFehler(400, "registry.ollama.ai/library/gemma3:270m does not support tools"),
         "Das Modell kann keine Werkzeuge aufrufen, und ohne sie kann der Assistent nicht nachsehen. Nimm ein Modell "
         "mit Werkzeugen (bei Ollama in der Bibliothek mit „tools“ markiert), etwa nach „ollama pull qwen2.5:7b“, und "
         "wähle es in den Einstellungen.\nMeldung des Servers: „registry.ollama.ai/library/gemma3:270m does not "
         "support tools“",
         false},
    };
    for (const Fall& f : faelle) {
        Gespraech g(f.art);
        g.server.ohneWerkzeuge = f.verweigert;
        const bool llama = f.art == FalscherServer::Art::llamaCpp;
        // llama.cpp is asked at the check; Ollama (which would load its model for it) at the first question
        EXPECT_EQ(g.verfuegbar(), !llama) << f.name;
        if (!llama) {
            EXPECT_EQ(g.frage("Was kann weg?"), schief(f.anfang)) << f.name;
        }
        ASSERT_TRUE(g.a->verfuegbarkeit()) << f.name;
        EXPECT_FALSE(g.a->verfuegbarkeit()->verfuegbar) << f.name;
        EXPECT_EQ(g.a->verfuegbarkeit()->text, f.anfang) << f.name;
        ASSERT_EQ(g.a->verfuegbarkeit()->start.size(), f.mitStartbefehl ? 1u : 0u) << f.name;
        if (f.mitStartbefehl) {  // how to start it again where Hainbrem looks for it
            const Startbefehl& b = g.a->verfuegbarkeit()->start.front();
            EXPECT_EQ(b.befehl, "llama-server -m modell.gguf --port " +
                                    std::to_string(QUrl(g.server.adresse()).port()) + " --jinja");
            EXPECT_EQ(b.adresse, g.server.adresse().toStdString());
        }
        EXPECT_EQ(g.server.anfragen.size(), llama ? 0 : 1) << f.name;
        // checked again: still refused; then the server is started right
        g.a->verfuegbarkeitPruefen();
        ASSERT_TRUE(warte([&] { return g.server.proben == (llama ? 2 : 1); })) << f.name;
        EXPECT_TRUE(g.verfuegbar() == false) << f.name;
        // the server started right: a question that goes through makes the page look again
        g.server.ohneWerkzeuge.reset();
        g.server.skripte.push_back(antwort({"Jetzt geht es."}));
        EXPECT_EQ(g.frage("Und jetzt?"), "Jetzt geht es.") << f.name;
        ASSERT_TRUE(warte([&] { return g.a->verfuegbarkeit()->verfuegbar; })) << f.name;
    }
}

// A slow model reads for minutes before its first word. Progress reports count as life,
// keep-alive comments do not; after the first word the silence between words counts.
TEST(Gespraech, StilleVorUndNachDemErstenWort) {
    const std::string aufgegeben =
        "Das Modell hat nach 1 Sekunde noch kein Wort gesagt – es liest die Frage wohl noch oder hängt. Ich habe "
        "aufgegeben. Ein kleineres Modell oder eines auf der Grafikkarte ist schneller; wie lange ich warte, steht in "
        "der Einstellung „kiGeduld“ (Sekunden).";
    QList<Stueck> pings, berichte;
    for (int i = 0; i < 8; ++i) {
        pings << Stueck(ping(), 150);
        berichte << Stueck(fortschritt(800, 100 * (i + 1)), 150);
    }
    berichte << anfang() + text("Endlich.") << schluss() << fertig();
    struct Fall {
        const char* name;
        Skript skript;
        std::string erwartet;
    };
    const std::vector<Fall> faelle{
        {"Kopf sofort, dann nichts", Skript{200, {Stueck(anfang(), 5'000)}}, schief(aufgegeben)},
        {"nicht einmal ein Kopf", Skript{200, {Stueck(anfang(), 5'000)}, false, true}, schief(aufgegeben)},
        {"nur Kommentare zum Wachhalten", Skript{200, pings}, schief(aufgegeben)},
        {"Fortschritt hält die Geduld wach", Skript{200, berichte}, "Endlich."},
        {"still nach dem ersten Wort", Skript{200, {anfang() + text("Ich"), Stueck(text(" sehe"), 5'000)}},
         schief("Das Sprachmodell hat 1 Sekunde lang nichts mehr gesagt; ich habe aufgegeben.")},
    };
    for (const Fall& f : faelle) {
        Gespraech g(FalscherServer::Art::llamaCpp, kurz);
        g.server.skripte.push_back(f.skript);
        EXPECT_EQ(g.frage("Warum ist meine Platte so voll?"), f.erwartet) << f.name;
        g.server.skripte.push_back(antwort({"Wieder da."}));
        EXPECT_EQ(g.frage("Und?"), "Wieder da.") << f.name;
    }
}

TEST(Gespraech, AbbrechenBeimLesenSchreibenUndNachsehen) {
    struct Fall {
        const char* name;
        Skript skript;
        std::function<bool(Gespraech&)> wann;  // stopped as soon as this holds
        std::string text;
        bool mitHinweis;
    };
    const std::vector<Fall> faelle{
        {"beim Lesen", Skript{200, {Stueck(anfang(), 5'000)}},
         [](Gespraech& g) { return g.server.anfragen.size() == 1; }, Assistent::abgebrochenText, false},
        {"beim Schreiben", Skript{200, {anfang() + text("Die Caches"), Stueck(text(" belegen"), 5'000)}},
         [](Gespraech& g) { return g.m.unterhaltung().back().text == "Die Caches"; }, "Die Caches", true},
        {"während ein Werkzeug nachsieht", aufrufe({aufruf(0, "w1", "plattenstand", "{}")}),
         [](Gespraech& g) { return g.a->fortgang().phase == Fortgang::Phase::schautNach; }, Assistent::abgebrochenText,
         false},
    };
    for (const Fall& f : faelle) {
        Gespraech g;
        g.server.skripte.push_back(f.skript);
        // looked at whenever something happens, so even a short moment is caught
        bool gestoppt = false;
        auto schau = [&] {
            if (!gestoppt && g.m.kiDenkt() && f.wann(g)) {
                gestoppt = true;
                QTimer::singleShot(0, g.a, [&] { g.a->abbrechen(); });
            }
        };
        QObject::connect(g.a, &Assistent::fortgangGeaendert, g.a, schau);
        QObject::connect(&g.m, &AppModell::unterhaltungGeaendert, g.a, schau);
        g.a->fragen("Was ist groß?");
        ASSERT_TRUE(warte([&] {
            schau();
            return gestoppt && !g.m.kiDenkt();
        })) << f.name;
        EXPECT_EQ(g.m.unterhaltung().back().text, f.text) << f.name;
        EXPECT_EQ(g.hinweis() != nullptr, f.mitHinweis) << f.name;
        if (f.mitHinweis) {
            EXPECT_EQ(g.hinweis()->text, Assistent::abgebrochenHinweis);
        }
        // the stopped question is forgotten by the model; the next one goes through
        g.server.skripte.clear();
        g.server.skripte.push_back(antwort({"Weiter geht’s."}));
        const qsizetype vorher = g.server.anfragen.size();
        EXPECT_EQ(g.frage("Neu"), "Weiter geht’s.") << f.name;
        EXPECT_EQ(g.nachrichten(int(vorher)).size(), 2) << f.name;
    }
}

TEST(Gespraech, EineFrageZurZeitUndLeeresFragtNichts) {
    Gespraech g;
    g.a->fragen(" \n\t ");
    EXPECT_TRUE(g.m.unterhaltung().empty());
    g.server.skripte.push_back(antwort({"Eins"}));
    g.a->fragen("Erste");
    g.a->fragen("Zweite");
    g.m.frageStellen("Dritte");  // from another page: switches there, still one at a time
    EXPECT_EQ(g.m.seite(), Seite::assistent);
    ASSERT_TRUE(warte([&] { return !g.m.kiDenkt(); }));
    QTest::qWait(50);
    EXPECT_EQ(g.m.unterhaltung().size(), 2u);
    EXPECT_EQ(g.server.anfragen.size(), 1);
}

// Counts every request; none may be made for an address off this device.
class ZaehlNetz : public QNetworkAccessManager {
public:
    int anfragen = 0;

protected:
    QNetworkReply* createRequest(Operation op, const QNetworkRequest& r, QIODevice* daten) override {
        ++anfragen;
        return QNetworkAccessManager::createRequest(op, r, daten);
    }
};

TEST(Gespraech, NurAdressenAufDiesemGeraet) {
    for (const char* gut : {"http://127.0.0.1:8080/v1", "http://127.3.4.5/v1", "http://[::1]:11434/v1",
                            "http://localhost:1234/v1", "https://LOCALHOST./v1"})
        EXPECT_TRUE(nurLokal(QUrl(gut))) << gut;
    for (const char* schlecht :
         {"http://192.168.1.20:8080/v1", "http://10.0.0.1/v1", "http://modelle.example.com/v1",
          "http://127.0.0.1.nip.io/v1", "http://[::2]/v1", "ftp://127.0.0.1/v1", "127.0.0.1:8080"})
        EXPECT_FALSE(nurLokal(QUrl(schlecht))) << schlecht;

    Welt w;
    AppModell m(w.umfeld());
    ZaehlNetz netz;
    auto* a = new Assistent(m, std::make_unique<OpenAiModell>("http://192.0.2.7:8080/v1", "x", &netz));
    ASSERT_TRUE(warte([&] { return a->verfuegbarkeit().has_value(); }));
    const std::string verweigert =
        "Die Adresse http://192.0.2.7:8080/v1 liegt nicht auf diesem Gerät. Hainbrem spricht nur mit einem "
        "Sprachmodell auf 127.0.0.1, ::1 oder localhost – nichts geht über das Netz.";
    EXPECT_FALSE(a->verfuegbarkeit()->verfuegbar);
    EXPECT_EQ(a->verfuegbarkeit()->text, verweigert);
    a->fragen("Hallo?");
    ASSERT_TRUE(warte([&] { return !m.kiDenkt(); }));
    EXPECT_EQ(m.unterhaltung().back().text, Assistent::schiefText + verweigert);
    EXPECT_EQ(netz.anfragen, 0);
}

TEST(Gespraech, VerfuegbarkeitMitUndOhneModell) {
    Welt w;
    FalscherServer server({"qwen", "llama"});
    AppModell m(w.umfeld());
    auto* a = new Assistent(m, std::make_unique<OpenAiModell>(server.adresse(), "llama"));
    ASSERT_TRUE(warte([&] { return a->verfuegbarkeit().has_value(); }));
    EXPECT_EQ(a->verfuegbarkeit()->text,
              "Lokales Sprachmodell „llama“ auf " + server.adresse().toStdString() + " – nichts verlässt das Gerät.");
    // replaced again while its check is still under way: only the newest answers
    a->setzeSprachmodell(std::make_unique<OpenAiModell>(server.adresse(), "qwen"));
    a->setzeSprachmodell(std::make_unique<OpenAiModell>(server.adresse(), "mistral"));
    ASSERT_TRUE(warte([&] { return !a->verfuegbarkeit()->verfuegbar; }));
    EXPECT_NE(a->verfuegbarkeit()->text.find("kein Modell „mistral“. Vorhanden: qwen, llama."), std::string::npos);
    a->setzeSprachmodell(std::make_unique<OpenAiModell>("http://127.0.0.1:9/v1", ""));  // nobody listens there
    ASSERT_TRUE(
        warte([&] { return a->verfuegbarkeit()->text.starts_with("Auf http://127.0.0.1:9/v1 antwortet kein"); }));
    EXPECT_NE(a->verfuegbarkeit()->text.find("llama-server -m modell.gguf --port 8080 --jinja"), std::string::npos);
}

}  // namespace
}  // namespace hainbrem::test
