#pragma once
// What the conversation needs from a language model, whoever runs it: whether it can answer
// (and why not), a session that keeps the instructions, the tools and what was said, and a
// streamed answer that arrives as ever longer snapshots of the whole text, with word of what the
// model is doing meanwhile and a way to stop it.
#include <cstdint>
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
    // When a model has to be started (again) first: the reason alone, the line that leads to the
    // commands, and the commands `text` names.
    std::string grund = {};
    std::vector<Startbefehl> start = {};
    std::string startZeile = "Starte eines auf diesem Gerät, zum Beispiel so:";
};

// How a question ended when it did not simply end well.
struct KiFehler {
    enum class Art {
        kontextVoll,     // the conversation outgrew the model's context: start afresh
        kontextZuKlein,  // even a fresh conversation does not fit: the server needs more context
        ohneWerkzeuge,   // the server takes no tools while streaming: it must be started differently
        abgeschnitten,   // no failure: the server ended the answer at a length limit; the text stays
        abgebrochen,     // stopped on request
        anderer
    };
    Art art = Art::anderer;
    std::string beschreibung;             // German
    std::vector<Startbefehl> start = {};  // ohneWerkzeuge: how to start the server instead
    int64_t tokens = 0, kontext = 0;      // kontextVoll: the server's figures, when it gave them
};

// A server that refuses tools is as good as none: the assistant cannot look without them.
inline Verfuegbarkeit ohneWerkzeuge(const KiFehler& f) {
    Verfuegbarkeit v{false, f.beschreibung, f.beschreibung, f.start};
    v.startZeile = "Starte den Server dann so:";
    return v;
}

// What the model is doing while an answer is on its way.
struct Fortgang {
    enum class Phase {
        liest,       // it reads the question (or what the tools found) and has not said a word yet
        ueberlegt,   // it thinks aloud; those thoughts stay out of the answer
        antwortet,   // words of the answer or of a tool call arrive
        schautNach,  // a tool is at work
    };
    Phase phase = Phase::liest;
    bool nachWerkzeugen = false;  // liest: what the tools found rather than the question
    double gelesen = -1;          // liest: share of the prompt read when the server tells it, else < 0
    std::string werkzeug = {};    // schautNach: the tool's name
    bool operator==(const Fortgang&) const = default;
};

class Sitzung {
public:
    virtual ~Sitzung() = default;
    using Schnappschuss = std::function<void(const std::string&)>;
    using Ende = std::function<void(std::optional<KiFehler>)>;
    // Beside each tool call, for a front end that shows what the assistant looks at.
    using WerkzeugMeldung = std::function<void(const std::string& name)>;
    using FortgangMeldung = std::function<void(const Fortgang&)>;

    // One question. `teil` gets the whole answer so far each time it grows; `ende` comes once,
    // last, with nothing or the error. Both run on the calling thread. A failed question leaves
    // the session as it was before it; an answer cut off at a length limit stays in it.
    virtual void antworte(const std::string& frage, Schnappschuss teil, Ende ende) = 0;
    // Stops the question under way; its `ende` then comes with Art::abgebrochen. A session that
    // cannot stop an answer lets it run to its end.
    virtual void abbrechen() {}
    WerkzeugMeldung werkzeugMeldung;
    FortgangMeldung fortgangMeldung;
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
