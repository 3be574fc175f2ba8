#pragma once
// What the conversation needs from a language model, whoever runs it: whether it can answer
// (and why not), a session that keeps the instructions, the tools and what was said, and a
// streamed answer that arrives as ever longer snapshots of the whole text.
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/assistent/werkzeuge.hpp"
#include "app/modell/typen.hpp"

namespace hainbrem {

// A command that starts a local model, for the page to show on a line of its own.
struct Startbefehl {
    std::string mit;      // "llama.cpp"
    std::string befehl;   // "llama-server -m modell.gguf --port 8080 --jinja"
    std::string adresse;  // where it then answers
    bool operator==(const Startbefehl&) const = default;
};

struct Verfuegbarkeit {
    bool verfuegbar = false;
    std::string text;  // the availability line, or why there is no model and what to do
    // When a model has to be started first: the reason alone, and the commands `text` names.
    std::string grund = {};
    std::vector<Startbefehl> start = {};
};

struct KiFehler {
    enum class Art { kontextVoll, anderer };
    Art art = Art::anderer;
    std::string beschreibung;  // German
};

class Sitzung : public KiSitzung {
public:
    using Schnappschuss = std::function<void(const std::string&)>;
    using Ende = std::function<void(std::optional<KiFehler>)>;
    // Beside each tool call, for a front end that shows what the assistant looks at.
    using WerkzeugMeldung = std::function<void(const std::string& name)>;

    // One question. `teil` gets the whole answer so far each time it grows; `ende` comes once,
    // last, with nothing or the error. Both run on the calling thread. A failed question leaves
    // the session as it was before it.
    virtual void antworte(const std::string& frage, Schnappschuss teil, Ende ende) = 0;
    WerkzeugMeldung werkzeugMeldung;
};

class Sprachmodell {
public:
    virtual ~Sprachmodell() = default;
    // Asynchronous; `fertig` runs on the calling thread.
    virtual void pruefe(std::function<void(Verfuegbarkeit)> fertig) = 0;
    // The tools in the order they are offered to the model.
    virtual std::unique_ptr<Sitzung> sitzung(const std::string& anweisungen,
                                             std::vector<std::unique_ptr<Werkzeug>> werkzeuge) = 0;
};

}  // namespace hainbrem
