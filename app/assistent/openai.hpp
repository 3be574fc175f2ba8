#pragma once
// A language model behind a local OpenAI-style chat-completions endpoint, as llama.cpp's server,
// Ollama or LM Studio serve it on this machine. Only addresses on this device are ever
// contacted: the check runs on the written address before any socket exists, no name but
// "localhost" is accepted (and that one is dialled as 127.0.0.1, never looked up), no proxy is
// used and no redirect is followed.
#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QUrl>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/assistent/sprachmodell.hpp"

class QNetworkAccessManager;

namespace hainbrem {

// Why this address is refused; nothing when it lies on this device (127.0.0.0/8, ::1, localhost).
std::optional<std::string> nurLokal(const QUrl& adresse);

// How to get a local model going, for the availability texts and the README.
const std::vector<Startbefehl>& startBefehle();
std::string startHinweis();

// An error the server sent (HTTP body or inside the stream): context overflow or German text.
KiFehler serverFehler(const QByteArray& roh, int status);

// The deltas of one streamed chat completion, put together. Servers differ: llama.cpp sends a
// tool call's id and name first and its arguments in pieces, Ollama a whole call in one chunk.
class Strom {
public:
    struct Aufruf {
        std::string id, name, argumente;
    };

    void lies(const QByteArray& daten);
    // The connection ended: what is left in the buffer is the last event.
    void schliesse();

    std::string text;
    std::vector<Aufruf> aufrufe;
    bool fertig = false;               // "[DONE]" or a finish_reason came
    std::optional<QByteArray> fehler;  // an error object the server sent inside the stream
    bool unverstaendlich = false;      // a data line that was no JSON

private:
    void zeile(QByteArray z);
    void ereignis(const QByteArray& daten);
    Aufruf& aufruf(const QJsonObject& teil);

    QByteArray puffer_;
    QByteArray daten_;
    std::vector<int> indexe_;  // the server's index per call; -1 when it sent none
};

class OpenAiModell : public Sprachmodell {
public:
    // `modell` empty: the first the endpoint lists. `netz` (tests) is used instead of an own manager.
    OpenAiModell(const QString& adresse, const QString& modell, QNetworkAccessManager* netz = nullptr);
    ~OpenAiModell() override;

    void pruefe(std::function<void(Verfuegbarkeit)> fertig) override;
    std::unique_ptr<Sitzung> sitzung(const std::string& anweisungen,
                                     std::vector<std::unique_ptr<Werkzeug>> werkzeuge) override;

    struct Verbindung;

private:
    std::shared_ptr<Verbindung> v_;
};

}  // namespace hainbrem
