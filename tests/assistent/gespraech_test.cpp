// The conversation against a fake local model server: both stream shapes, tool calls, failures,
// the context overflow, one question at a time, and no address off this device.
#include <gtest/gtest.h>

#include <QNetworkAccessManager>

#include "../modell/welt.hpp"
#include "app/assistent/assistent.hpp"
#include "app/assistent/openai.hpp"
#include "falscher_server.hpp"

namespace hainbrem::test {
namespace {

struct Gespraech {
    Welt w;
    FalscherServer server;
    AppModell m{w.umfeld()};
    Assistent* a = new Assistent(m, std::make_unique<OpenAiModell>(server.adresse(), QString()));
    std::vector<std::string> schnappschuesse;

    Gespraech() {
        QObject::connect(&m, &AppModell::unterhaltungGeaendert, [this] {
            if (!m.unterhaltung().empty()) schnappschuesse.push_back(m.unterhaltung().back().text);
        });
    }
    // Asks and waits for the answer; its text.
    std::string frage(const std::string& text) {
        a->fragen(text);
        EXPECT_TRUE(warte([&] { return !m.kiDenkt(); }));
        return m.unterhaltung().back().text;
    }
    QJsonArray nachrichten(int anfrage) const { return server.anfragen.at(anfrage)["messages"].toArray(); }
};

TEST(Gespraech, TextInStueckenWaechstAlsSchnappschuss) {
    Gespraech g;
    g.server.skripte.push_back(antwort({"Deine Platte ", "ist zu 80 % ", "voll."}));
    EXPECT_EQ(g.frage("  Warum ist meine Platte so voll?\n"), "Deine Platte ist zu 80 % voll.");
    const std::vector<std::string> erwartet{"", "Deine Platte ", "Deine Platte ist zu 80 % ",
                                            "Deine Platte ist zu 80 % voll."};
    EXPECT_EQ(g.schnappschuesse, erwartet);
    ASSERT_EQ(g.m.unterhaltung().size(), 2u);
    EXPECT_EQ(g.m.unterhaltung()[0].text, "Warum ist meine Platte so voll?");
    const QJsonObject anfrage = g.server.anfragen.at(0);
    EXPECT_EQ(anfrage["model"].toString(), "testmodell");  // the first the server lists
    EXPECT_TRUE(anfrage["stream"].toBool());
    EXPECT_EQ(g.nachrichten(0).at(0)["content"].toString().toStdString(), Assistent::anweisungen);
    QStringList namen;
    for (const QJsonValue t : anfrage["tools"].toArray()) namen << t["function"]["name"].toString();
    EXPECT_EQ(namen.join(","), "plattenstand,aufraeumFunde,groessteOrdner,erklaere,auswaehlen");
}

TEST(Gespraech, WerkzeugaufrufeInBeidenStromformen) {
    const QString weg = "~/gibts/nicht";
    const std::string wegText = "~/gibts/nicht gibt es nicht.";
    struct Fall {
        const char* name;
        QList<QByteArray> stuecke;
        std::vector<std::pair<QString, std::string>> ergebnisse;  // tool_call_id → the tool's answer (its start)
    };
    const std::vector<Fall> faelle{
        {"llama.cpp: Argumente in Stücken",
         {aufruf(0, "a1", "erklaere", ""), aufruf(0, "", "", "{\"pfad\": \"~/gibts"), aufruf(0, "", "", "/nicht\"}"),
          ende("tool_calls")},
         {{"a1", wegText}}},
        {"Ollama: ganzer Aufruf in einem Stück",
         {aufruf(0, "o1", "erklaere", "{\"pfad\":\"" + weg + "\"}"), ende("stop")},
         {{"o1", wegText}}},
        {"zwei Aufrufe in einem Zug",
         {aufruf(0, "z1", "erklaere", "{\"pfad\":\"" + weg + "\"}"),
          aufruf(1, "z2", "auswaehlen", R"({"regelIDs":[],"pfade":[]})"), ende("tool_calls")},
         {{"z1", wegText}, {"z2", "0 Funde ausgewählt (0 Byte)."}}},
        {"unbekanntes Werkzeug und kaputte Argumente",
         {aufruf(0, "u1", "loeschen", "{}"), aufruf(1, "u2", "erklaere", "{\"pfad\": "), ende("tool_calls")},
         {{"u1", "Ein Werkzeug „loeschen“ gibt es nicht."}, {"u2", "Die Argumente für „erklaere“ sind kein gültiges"}}},
    };
    for (const Fall& f : faelle) {
        Gespraech g;
        std::vector<std::string> gemeldet;
        QObject::connect(g.a, &Assistent::werkzeugGerufen,
                         [&](const QString& n) { gemeldet.push_back(n.toStdString()); });
        g.server.skripte.push_back({200, f.stuecke, false});
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

TEST(Gespraech, AbbruchMittenImStromUndFehlerDesServers) {
    Gespraech g;
    g.server.skripte.push_back({200, {text("Ich schaue ")}, true});
    EXPECT_EQ(g.frage("Was ist groß?"),
              "Das ging schief: Die Verbindung zum Sprachmodell brach mitten in der Antwort ab.");
    g.server.skripte.push_back(
        {500, {R"({"error":{"code":500,"message":"Modell abgestürzt","type":"server_error"}})"}});
    EXPECT_EQ(g.frage("Noch einmal?"),
              "Das ging schief: Das Sprachmodell meldet einen Fehler (HTTP 500): Modell abgestürzt.");
    // a failed question is not part of what the model is told next
    g.server.skripte.push_back(antwort({"Gut."}));
    g.frage("Und jetzt?");
    EXPECT_EQ(g.nachrichten(2).size(), 2);
    EXPECT_EQ(g.m.unterhaltung().size(), 6u);
    EXPECT_FALSE(g.m.kiDenkt());
}

TEST(Gespraech, KontextVollFaengtNeuAnUndDerBildschirmBehaeltAlles) {
    Gespraech g;
    g.server.skripte.push_back(antwort({"Erste Antwort."}));
    g.frage("Erste Frage");
    g.server.skripte.push_back(
        {400,
         {R"({"error":{"code":400,"message":"the request exceeds the available context size, try increasing it","type":"exceed_context_size_error","n_prompt_tokens":5000,"n_ctx":4096}})"}});
    auto* alteSitzung = g.m.kiSitzungObjekt();
    EXPECT_EQ(g.frage("Zweite Frage"), Assistent::zuLangText);
    EXPECT_NE(g.m.kiSitzungObjekt(), alteSitzung);
    g.server.skripte.push_back(antwort({"Dritte Antwort."}));
    g.frage("Dritte Frage");
    const QJsonArray n = g.nachrichten(2);
    ASSERT_EQ(n.size(), 2);  // the instructions and the new question only
    EXPECT_EQ(n.at(1)["content"].toString(), "Dritte Frage");
    EXPECT_EQ(g.m.unterhaltung().size(), 6u);
    EXPECT_EQ(g.m.unterhaltung()[1].text, "Erste Antwort.");
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
        EXPECT_EQ(nurLokal(QUrl(gut)), std::nullopt) << gut;
    for (const char* schlecht :
         {"http://192.168.1.20:8080/v1", "http://10.0.0.1/v1", "http://modelle.example.com/v1",
          "http://127.0.0.1.nip.io/v1", "http://[::2]/v1", "ftp://127.0.0.1/v1", "127.0.0.1:8080"})
        EXPECT_NE(nurLokal(QUrl(schlecht)), std::nullopt) << schlecht;

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
