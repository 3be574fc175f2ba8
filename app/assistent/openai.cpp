#include "app/assistent/openai.hpp"

#include <QHostAddress>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPointer>
#include <map>

namespace hainbrem {

namespace {

// A local model may think a while before its first word; this much silence ends the answer.
constexpr int stilleMs = 180'000;
constexpr int modelleMs = 5'000;
// A model that keeps calling tools instead of answering is stopped after this many rounds.
constexpr int maxRunden = 8;

std::string s(const QString& q) { return q.toStdString(); }

QString alsText(const QJsonValue& v) {
    return v.isString() ? v.toString() : QString::fromUtf8(QJsonDocument(v.toObject()).toJson(QJsonDocument::Compact));
}

struct Modelle {
    bool erreichbar = false;
    int status = 0;
    QStringList ids;
    std::string fehler;  // German, when not reachable
};

std::string nichtErreichbar(const QString& adresse) {
    return "Auf " + s(adresse) + " antwortet kein Sprachmodell. " + startHinweis();
}

std::string netzFehler(QNetworkReply::NetworkError e, const QString& adresse, bool schonDaten) {
    switch (e) {
        case QNetworkReply::ConnectionRefusedError:
        case QNetworkReply::HostNotFoundError:
            return nichtErreichbar(adresse);
        case QNetworkReply::TimeoutError:
        case QNetworkReply::OperationCanceledError:
            return "Das Sprachmodell hat zu lange nichts gesagt.";
        default:
            return schonDaten ? "Die Verbindung zum Sprachmodell brach mitten in der Antwort ab."
                              : "Die Verbindung zum Sprachmodell auf " + s(adresse) + " kam nicht zustande.";
    }
}

}  // namespace

std::optional<std::string> nurLokal(const QUrl& adresse) {
    const std::string text = s(adresse.toString());
    const QString schema = adresse.scheme().toLower();
    if (!adresse.isValid() || adresse.host().isEmpty() || (schema != "http" && schema != "https"))
        return "„" + text +
               "“ ist keine Adresse, die Hainbrem versteht. Gemeint ist etwas wie http://127.0.0.1:8080/v1.";
    QString host = adresse.host().toLower();
    if (host.endsWith('.')) host.chop(1);
    if (host == QLatin1String("localhost")) return std::nullopt;
    QHostAddress ip;
    if (ip.setAddress(host) && ip.isLoopback()) return std::nullopt;
    return "Die Adresse " + text +
           " liegt nicht auf diesem Gerät. Hainbrem spricht nur mit einem Sprachmodell auf 127.0.0.1, ::1 oder "
           "localhost – nichts geht über das Netz.";
}

const std::vector<Startbefehl>& startBefehle() {
    static const std::vector<Startbefehl> befehle{
        {"llama.cpp", "llama-server -m modell.gguf --port 8080 --jinja", "http://127.0.0.1:8080/v1"},
        {"Ollama", "ollama serve", "http://127.0.0.1:11434/v1"}};
    return befehle;
}

std::string startHinweis() {
    std::string text = "Starte eines auf diesem Gerät, etwa";
    const auto& befehle = startBefehle();
    for (size_t i = 0; i < befehle.size(); ++i)
        text += std::string(i == 0 ? "" : " oder") + " mit " + befehle[i].mit + ": „" + befehle[i].befehl +
                "“ (Adresse " + befehle[i].adresse + ")";
    return text + ".";
}

namespace {

// No model: when the reason ends in how to start one, the commands come along on their own.
Verfuegbarkeit ohneModell(std::string text) {
    Verfuegbarkeit v{false, std::move(text)};
    const std::string hinweis = " " + startHinweis();
    if (v.text.ends_with(hinweis)) {
        v.grund = v.text.substr(0, v.text.size() - hinweis.size());
        v.start = startBefehle();
    }
    return v;
}

}  // namespace

KiFehler serverFehler(const QByteArray& roh, int status) {
    const QString klein = QString::fromUtf8(roh).toLower();
    // llama.cpp: type "exceed_context_size_error"; OpenAI: code "context_length_exceeded"; others
    // say it in words ("exceeds the available context size", "maximum context length")
    if (klein.contains("exceed_context_size_error") || klein.contains("context_length_exceeded") ||
        (klein.contains("context") && (klein.contains("exceed") || klein.contains("maximum context length"))))
        return {KiFehler::Art::kontextVoll, "Die Unterhaltung passt nicht mehr in das Modell."};
    QString meldung;
    const QJsonDocument doc = QJsonDocument::fromJson(roh);
    const QJsonValue fehler = doc.object().value("error");
    if (fehler.isObject())
        meldung = fehler.toObject().value("message").toString();
    else if (fehler.isString())
        meldung = fehler.toString();
    if (meldung.isEmpty()) meldung = QString::fromUtf8(roh.left(300)).trimmed();
    std::string text = "Das Sprachmodell meldet einen Fehler";
    if (status > 0) text += " (HTTP " + std::to_string(status) + ")";
    if (!meldung.isEmpty()) text += ": " + s(meldung);
    return {KiFehler::Art::anderer, text + "."};
}

// ---------------------------------------------------------------- the stream

void Strom::lies(const QByteArray& daten) {
    puffer_ += daten;
    for (qsizetype n; (n = puffer_.indexOf('\n')) >= 0;) {
        QByteArray z = puffer_.left(n);
        puffer_.remove(0, n + 1);
        zeile(std::move(z));
    }
}

void Strom::schliesse() {
    if (!puffer_.isEmpty()) zeile(std::exchange(puffer_, {}));
    if (!daten_.isEmpty()) ereignis(std::exchange(daten_, {}));
}

void Strom::zeile(QByteArray z) {
    if (z.endsWith('\r')) z.chop(1);
    if (z.isEmpty()) {  // an empty line ends an event
        if (!daten_.isEmpty()) ereignis(std::exchange(daten_, {}));
        return;
    }
    auto wert = [&](qsizetype ab) {
        QByteArray w = z.mid(ab);
        if (w.startsWith(' ')) w.remove(0, 1);
        return w;
    };
    if (z.startsWith("data:")) {
        if (!daten_.isEmpty()) daten_ += '\n';
        daten_ += wert(5);
    } else if (z.startsWith("error:")) {  // llama.cpp reports some failures in this field
        fehler = wert(6);
    }
    // comments (":"), "event:", "id:" and "retry:" carry nothing here
}

Strom::Aufruf& Strom::aufruf(const QJsonObject& teil) {
    const int index = teil.contains("index") ? teil.value("index").toInt() : -1;
    const std::string id = s(teil.value("id").toString());
    for (size_t i = 0; i < aufrufe.size(); ++i) {
        if (index >= 0 && indexe_[i] == index) return aufrufe[i];
        if (index < 0 && !id.empty() && aufrufe[i].id == id) return aufrufe[i];
    }
    // no index and no id: a further piece of the call before
    if (index < 0 && id.empty() && !aufrufe.empty()) return aufrufe.back();
    indexe_.push_back(index);
    return aufrufe.emplace_back();
}

void Strom::ereignis(const QByteArray& daten) {
    if (daten.trimmed() == "[DONE]") {
        fertig = true;
        return;
    }
    QJsonParseError pe{};
    const QJsonDocument doc = QJsonDocument::fromJson(daten, &pe);
    if (pe.error != QJsonParseError::NoError || !doc.isObject()) {
        unverstaendlich = true;
        return;
    }
    const QJsonObject o = doc.object();
    if (o.contains("error")) {
        fehler = daten;
        return;
    }
    const QJsonArray wahlen = o.value("choices").toArray();
    const QJsonObject wahl = wahlen.isEmpty() ? QJsonObject() : wahlen.first().toObject();
    const QJsonObject delta = wahl.value("delta").toObject();
    if (delta.value("content").isString()) text += s(delta.value("content").toString());
    for (const QJsonValue& t : delta.value("tool_calls").toArray()) {
        const QJsonObject teil = t.toObject();
        const QJsonObject funktion = teil.value("function").toObject();
        Aufruf& a = aufruf(teil);
        if (const QString id = teil.value("id").toString(); !id.isEmpty()) a.id = s(id);
        if (const QString name = funktion.value("name").toString(); !name.isEmpty() && a.name.empty()) a.name = s(name);
        const QJsonValue args = funktion.value("arguments");
        if (args.isString())
            a.argumente += s(args.toString());
        else if (args.isObject())  // whole, as an object rather than text
            a.argumente = s(alsText(args));
    }
    if (wahl.value("finish_reason").isString()) fertig = true;
}

// ---------------------------------------------------------------- the endpoint

struct OpenAiModell::Verbindung {
    QString adresse;  // as written
    QUrl basis;       // what is dialled
    QString modell;   // as configured; empty: the first listed
    QString gewaehlt;
    std::optional<std::string> verweigert;
    std::unique_ptr<QNetworkAccessManager> eigenes;
    QNetworkAccessManager* netz = nullptr;

    QNetworkRequest anfrage(const char* pfad, int ms) const {
        QUrl u = basis;
        QString p = u.path();
        while (p.endsWith('/')) p.chop(1);
        u.setPath(p + QLatin1String(pfad));
        QNetworkRequest r(u);
        r.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
        r.setTransferTimeout(ms);
        return r;
    }

    // GET /models; `fertig` gets the ids in the server's order. The reply may outlive this
    // connection (a manager handed in), so nothing of it is captured.
    void modelle(QObject* kontext, std::function<void(Modelle)> fertig) {
        QNetworkReply* r = netz->get(anfrage("/models", modelleMs));
        QObject::connect(r, &QNetworkReply::finished, kontext, [adresse = adresse, r, fertig = std::move(fertig)] {
            r->deleteLater();
            Modelle m;
            m.status = r->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
            if (m.status == 0) {
                m.fehler = netzFehler(r->error(), adresse, false);
                fertig(std::move(m));
                return;
            }
            m.erreichbar = true;
            for (const QJsonValue& e : QJsonDocument::fromJson(r->readAll()).object().value("data").toArray())
                if (const QString id = e.toObject().value("id").toString(); !id.isEmpty()) m.ids << id;
            fertig(std::move(m));
        });
    }
};

OpenAiModell::OpenAiModell(const QString& adresse, const QString& modell, QNetworkAccessManager* netz)
    : v_(std::make_shared<Verbindung>()) {
    v_->adresse = adresse.trimmed();
    v_->basis = QUrl(v_->adresse, QUrl::StrictMode);
    v_->modell = modell.trimmed();
    v_->verweigert = nurLokal(v_->basis);
    const QString host = v_->basis.host().toLower();
    if (host == QLatin1String("localhost") || host == QLatin1String("localhost."))
        v_->basis.setHost(QStringLiteral("127.0.0.1"));  // never looked up
    if (!netz) {
        v_->eigenes = std::make_unique<QNetworkAccessManager>();
        netz = v_->eigenes.get();
    }
    netz->setProxy(QNetworkProxy::NoProxy);  // a proxy would carry everything off the machine
    v_->netz = netz;
}

OpenAiModell::~OpenAiModell() = default;

void OpenAiModell::pruefe(std::function<void(Verfuegbarkeit)> fertig) {
    if (v_->verweigert) {
        QMetaObject::invokeMethod(
            v_->netz,
            [fertig, t = *v_->verweigert] {
                fertig({false, t});
            },
            Qt::QueuedConnection);
        return;
    }
    // weak: the reply must not keep alive the manager it belongs to
    v_->modelle(v_->netz, [w = std::weak_ptr<Verbindung>(v_), fertig](Modelle m) {
        const auto v = w.lock();
        if (!v) return;  // replaced by another model meanwhile
        const std::string wo = s(v->adresse);
        if (!m.erreichbar) return fertig(ohneModell(m.fehler));
        if (m.status >= 300)
            return fertig({false, "Auf " + wo + " läuft ein Server, aber keiner, der wie OpenAI spricht (HTTP " +
                                      std::to_string(m.status) + "). Die Adresse endet meist auf /v1."});
        if (m.ids.isEmpty())
            return fertig(ohneModell("Der Server auf " + wo + " läuft, hat aber kein Modell geladen. " + startHinweis()));
        if (!v->modell.isEmpty() && !m.ids.contains(v->modell))
            return fertig({false, "Der Server auf " + wo + " läuft, hat aber kein Modell „" + s(v->modell) +
                                      "“. Vorhanden: " + s(m.ids.join(", ")) +
                                      ". Wähle eines davon in den Einstellungen oder lade es dort (bei Ollama: „ollama "
                                      "pull " +
                                      s(v->modell) + "“)."});
        v->gewaehlt = v->modell.isEmpty() ? m.ids.front() : v->modell;
        fertig({true, "Lokales Sprachmodell „" + s(v->gewaehlt) + "“ auf " + wo + " – nichts verlässt das Gerät."});
    });
}

// ---------------------------------------------------------------- the session

namespace {

class OpenAiSitzung : public QObject, public Sitzung {
public:
    OpenAiSitzung(std::shared_ptr<OpenAiModell::Verbindung> v, const std::string& anweisungen,
                  std::vector<std::unique_ptr<Werkzeug>> werkzeuge)
        : v_(std::move(v)), werkzeuge_(std::move(werkzeuge)) {
        verlauf_.append(QJsonObject{{"role", "system"}, {"content", QString::fromStdString(anweisungen)}});
        for (const auto& w : werkzeuge_) {
            QJsonObject eigenschaften;
            QJsonArray noetig;
            for (const Argument& a : w->argumente()) {
                QJsonObject e{{"description", QString::fromStdString(a.fuehrung)}};
                if (a.liste) {
                    e["type"] = "array";
                    e["items"] = QJsonObject{{"type", "string"}};
                } else {
                    e["type"] = "string";
                }
                eigenschaften[QString::fromStdString(a.name)] = e;
                noetig.append(QString::fromStdString(a.name));
            }
            werkzeugListe_.append(QJsonObject{
                {"type", "function"},
                {"function",
                 QJsonObject{
                     {"name", QString::fromUtf8(w->name().data(), qsizetype(w->name().size()))},
                     {"description", QString::fromUtf8(w->beschreibung().data(), qsizetype(w->beschreibung().size()))},
                     {"parameters",
                      QJsonObject{{"type", "object"}, {"properties", eigenschaften}, {"required", noetig}}}}}});
        }
    }

    ~OpenAiSitzung() override {
        if (antwort_) {
            antwort_->disconnect(this);
            antwort_->abort();
            antwort_->deleteLater();
        }
    }

    void antworte(const std::string& frage, Schnappschuss teil, Ende ende) override {
        if (frage_) {  // one question at a time; the conversation never asks a second
            QMetaObject::invokeMethod(
                this,
                [ende] {
                    ende(KiFehler{KiFehler::Art::anderer, "Eine Frage läuft noch."});
                },
                Qt::QueuedConnection);
            return;
        }
        frage_ = Frage{verlauf_.size(), {}, std::move(teil), std::move(ende), 0, ++nummer_};
        if (v_->verweigert) {
            // refused before anything is dialled
            QMetaObject::invokeMethod(
                this,
                [this, t = *v_->verweigert] {
                    scheitere({KiFehler::Art::anderer, t});
                },
                Qt::QueuedConnection);
            return;
        }
        verlauf_.append(QJsonObject{{"role", "user"}, {"content", QString::fromStdString(frage)}});
        if (!v_->modell.isEmpty() || !v_->gewaehlt.isEmpty()) {
            QMetaObject::invokeMethod(
                this, [this] { sende(); }, Qt::QueuedConnection);
            return;
        }
        v_->modelle(this, [this](Modelle m) {
            if (!m.erreichbar) return scheitere({KiFehler::Art::anderer, m.fehler});
            if (m.ids.isEmpty())
                return scheitere({KiFehler::Art::anderer,
                                  "Der Server auf " + s(v_->adresse) + " hat kein Modell geladen. " + startHinweis()});
            v_->gewaehlt = m.ids.front();
            sende();
        });
    }

private:
    struct Frage {
        qsizetype verlaufVorher = 0;
        std::string antwort;  // the text of earlier rounds of this question
        Schnappschuss teil;
        Ende ende;
        int runden = 0;
        int nummer = 0;
    };

    std::string schnappschuss() const {
        if (frage_->antwort.empty() || strom_.text.empty()) return frage_->antwort + strom_.text;
        return frage_->antwort + "\n\n" + strom_.text;
    }

    void sende() {
        strom_ = Strom{};
        const QJsonObject koerper{{"model", v_->modell.isEmpty() ? v_->gewaehlt : v_->modell},
                                  {"messages", verlauf_},
                                  {"tools", werkzeugListe_},
                                  {"stream", true}};
        QNetworkRequest r = v_->anfrage("/chat/completions", stilleMs);
        r.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
        r.setRawHeader("Accept", "text/event-stream");
        antwort_ = v_->netz->post(r, QJsonDocument(koerper).toJson(QJsonDocument::Compact));
        connect(antwort_, &QNetworkReply::readyRead, this, [this] {
            if (antwort_->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() >= 300)
                return;  // read at the end
            const size_t vorher = strom_.text.size();
            strom_.lies(antwort_->readAll());
            if (strom_.text.size() != vorher) frage_->teil(schnappschuss());
        });
        connect(antwort_, &QNetworkReply::finished, this, [this] { angekommen(); });
    }

    void angekommen() {
        QNetworkReply* r = std::exchange(antwort_, nullptr);
        r->deleteLater();
        const int status = r->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        if (status >= 300) return scheitere(serverFehler(r->readAll(), status));
        strom_.lies(r->readAll());
        strom_.schliesse();
        if (strom_.fehler) return scheitere(serverFehler(*strom_.fehler, 0));
        if (r->error() != QNetworkReply::NoError &&
            !(strom_.fertig && r->error() == QNetworkReply::RemoteHostClosedError))
            return scheitere({KiFehler::Art::anderer, netzFehler(r->error(), v_->adresse, status != 0)});
        if (!strom_.fertig)
            return scheitere(
                {KiFehler::Art::anderer, strom_.unverstaendlich
                                             ? "Das Sprachmodell schickte etwas Unverständliches."
                                             : "Die Verbindung zum Sprachmodell brach mitten in der Antwort ab."});
        frage_->teil(schnappschuss());
        if (strom_.aufrufe.empty()) {
            verlauf_.append(QJsonObject{{"role", "assistant"}, {"content", QString::fromStdString(strom_.text)}});
            auto ende = std::move(frage_->ende);
            frage_.reset();
            ende(std::nullopt);
            return;
        }
        if (++frage_->runden > maxRunden)
            return scheitere({KiFehler::Art::anderer,
                              "Das Modell hat nur noch Werkzeuge aufgerufen und nie "
                              "geantwortet; nach " +
                                  std::to_string(maxRunden) + " Runden habe ich aufgehört."});
        QJsonArray aufrufe;
        for (size_t i = 0; i < strom_.aufrufe.size(); ++i) {
            auto& a = strom_.aufrufe[i];
            if (a.id.empty()) a.id = "aufruf-" + std::to_string(frage_->runden) + "-" + std::to_string(i);
            // arguments the server could not read back would break the next request; the tool's
            // answer tells the model what was wrong with them
            const bool lesbar = QJsonDocument::fromJson(QByteArray::fromStdString(a.argumente)).isObject();
            aufrufe.append(QJsonObject{
                {"id", QString::fromStdString(a.id)},
                {"type", "function"},
                {"function", QJsonObject{{"name", QString::fromStdString(a.name)},
                                         {"arguments", lesbar ? QString::fromStdString(a.argumente) : "{}"}}}});
        }
        QJsonObject nachricht{{"role", "assistant"}, {"tool_calls", aufrufe}};
        nachricht["content"] = strom_.text.empty() ? QJsonValue() : QJsonValue(QString::fromStdString(strom_.text));
        verlauf_.append(nachricht);
        frage_->antwort = schnappschuss();
        rufe(0);
    }

    // The calls of one turn one after another, so a selection sees what a check before it found.
    void rufe(size_t i) {
        if (i == strom_.aufrufe.size()) return sende();
        const Strom::Aufruf& a = strom_.aufrufe[i];
        auto weiter = [this, i, nummer = frage_->nummer](std::string ergebnis) {
            if (!frage_ || frage_->nummer != nummer) return;
            const Strom::Aufruf& b = strom_.aufrufe[i];
            verlauf_.append(QJsonObject{{"role", "tool"},
                                        {"tool_call_id", QString::fromStdString(b.id)},
                                        {"name", QString::fromStdString(b.name)},
                                        {"content", QString::fromStdString(ergebnis)}});
            rufe(i + 1);
        };
        if (werkzeugMeldung) werkzeugMeldung(a.name);
        for (const auto& w : werkzeuge_)
            if (w->name() == a.name) return w->rufe(a.argumente, std::move(weiter));
        QMetaObject::invokeMethod(
            this, [weiter, t = unbekanntesWerkzeug(a.name)] { weiter(t); }, Qt::QueuedConnection);
    }

    // A failed question is taken back, so the next one starts from what the model last answered.
    void scheitere(KiFehler f) {
        if (!frage_) return;
        while (verlauf_.size() > frage_->verlaufVorher) verlauf_.removeLast();
        auto ende = std::move(frage_->ende);
        frage_.reset();
        ende(std::move(f));
    }

    std::shared_ptr<OpenAiModell::Verbindung> v_;
    std::vector<std::unique_ptr<Werkzeug>> werkzeuge_;
    QJsonArray werkzeugListe_;
    QJsonArray verlauf_;
    std::optional<Frage> frage_;
    int nummer_ = 0;
    Strom strom_;
    QNetworkReply* antwort_ = nullptr;
};

}  // namespace

std::unique_ptr<Sitzung> OpenAiModell::sitzung(const std::string& anweisungen,
                                               std::vector<std::unique_ptr<Werkzeug>> werkzeuge) {
    return std::make_unique<OpenAiSitzung>(v_, anweisungen, std::move(werkzeuge));
}

}  // namespace hainbrem
