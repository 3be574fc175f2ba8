#pragma once
// A stand-in for a local OpenAI-style model server on 127.0.0.1 (random port): GET /models lists
// the models, each POST /chat/completions gets the next scripted answer, streamed in chunks with
// small pauses, and every request body is kept for the test to read.
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <deque>

namespace hainbrem::test {

struct Skript {
    int status = 200;
    QList<QByteArray> stuecke;  // SSE, or the body of an error
    bool abbruch = false;       // the connection drops after the pieces
};

inline QByteArray daten(const QJsonObject& o) {
    return "data: " + QJsonDocument(o).toJson(QJsonDocument::Compact) + "\n\n";
}
inline QByteArray delta(const QJsonObject& d, const QJsonValue& grund = QJsonValue::Null) {
    return daten({{"choices", QJsonArray{QJsonObject{{"index", 0}, {"delta", d}, {"finish_reason", grund}}}}});
}
inline QByteArray text(const QString& t) { return delta({{"content", t}}); }
inline QByteArray ende(const char* grund = "stop") { return delta({}, QString(grund)) + "data: [DONE]\n\n"; }
// One piece of a tool call; empty fields are left out, as llama.cpp leaves them out after the first piece.
inline QByteArray aufruf(int index, const QString& id, const QString& name, const QString& args) {
    QJsonObject f;
    if (!name.isEmpty()) f["name"] = name;
    f["arguments"] = args;
    QJsonObject t{{"index", index}, {"function", f}};
    if (!id.isEmpty()) {
        t["id"] = id;
        t["type"] = "function";
    }
    return delta({{"tool_calls", QJsonArray{t}}});
}
// A plain answer in pieces.
inline Skript antwort(const QStringList& teile) {
    Skript s;
    for (const auto& t : teile) s.stuecke << text(t);
    s.stuecke << ende();
    return s;
}

class FalscherServer : public QObject {
public:
    explicit FalscherServer(QStringList modelle = {"testmodell"}) : modelle_(std::move(modelle)) {
        server_.listen(QHostAddress::LocalHost, 0);
        connect(&server_, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* s = server_.nextPendingConnection()) {
                ++verbindungen;
                connect(s, &QTcpSocket::readyRead, this, [this, s] { lies(s); });
            }
        });
    }
    QString adresse() const { return QStringLiteral("http://127.0.0.1:%1/v1").arg(server_.serverPort()); }

    std::deque<Skript> skripte;
    QList<QJsonObject> anfragen;  // the bodies of POST /chat/completions
    int verbindungen = 0;

private:
    void lies(QTcpSocket* s) {
        QByteArray& puffer = puffer_[s];
        puffer += s->readAll();
        const qsizetype kopfEnde = puffer.indexOf("\r\n\r\n");
        if (kopfEnde < 0) return;
        qsizetype laenge = 0;
        for (const QByteArray& z : puffer.left(kopfEnde).split('\n'))
            if (z.toLower().startsWith("content-length:")) laenge = z.mid(15).trimmed().toLongLong();
        if (puffer.size() < kopfEnde + 4 + laenge) return;
        const bool modelle = puffer.startsWith("GET ") && puffer.contains("/v1/models");
        const QByteArray koerper = puffer.mid(kopfEnde + 4, laenge);
        puffer_.remove(s);
        if (modelle) {
            QJsonArray d;
            for (const auto& m : modelle_) d.append(QJsonObject{{"id", m}, {"object", "model"}});
            return schicke(s, {200, {QJsonDocument(QJsonObject{{"object", "list"}, {"data", d}}).toJson()}, false},
                           false);
        }
        anfragen << QJsonDocument::fromJson(koerper).object();
        if (skripte.empty()) return schicke(s, {500, {R"({"error":{"message":"kein Skript"}})"}, false}, false);
        Skript sk = skripte.front();
        skripte.pop_front();
        schicke(s, sk, sk.status == 200);
    }

    // Chunked as llama.cpp sends it; the pieces 5 ms apart.
    void schicke(QTcpSocket* s, const Skript& sk, bool strom) {
        const QByteArray art = strom ? "text/event-stream" : "application/json";
        s->write("HTTP/1.1 " + QByteArray::number(sk.status) + " X\r\nContent-Type: " + art +
                 "\r\nTransfer-Encoding: chunked\r\nConnection: close\r\n\r\n");
        auto rest = std::make_shared<QList<QByteArray>>(sk.stuecke);
        auto* takt = new QTimer(s);
        QPointer<QTcpSocket> p(s);
        connect(takt, &QTimer::timeout, s, [p, rest, takt, abbruch = sk.abbruch] {
            if (!p) return;
            if (rest->isEmpty()) {
                takt->stop();
                if (!abbruch) p->write("0\r\n\r\n");
                p->disconnectFromHost();
                return;
            }
            const QByteArray st = rest->takeFirst();
            p->write(QByteArray::number(st.size(), 16) + "\r\n" + st + "\r\n");
        });
        takt->start(5);
    }

    QTcpServer server_;
    QStringList modelle_;
    QHash<QTcpSocket*, QByteArray> puffer_;
};

}  // namespace hainbrem::test
