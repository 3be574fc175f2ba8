#pragma once
// The conversation: questions in, streamed answers into the model's `unterhaltung`, one at a
// time, on a session that keeps what was said until the model's context is full. It lives as a
// child of the model and answers the model's `frageStellen`; the page and `hainbrem frage` use it.
// Beside the text it keeps what the model is doing while an answer comes (`fortgang`), and a note
// on answers that did not end on their own (cut off by the server, stopped by the user).
#include <QObject>
#include <QPointer>
#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "app/assistent/sprachmodell.hpp"
#include "app/modell/appmodell.hpp"

namespace hainbrem {

class Assistent : public QObject {
    Q_OBJECT
public:
    static constexpr const char* anweisungen =
        "Du bist der Assistent in „Hainbrem“, einer Mac-App, die Speicherplatz freimacht. Antworte kurz, freundlich "
        "und auf Deutsch, duze den Nutzer.\n"
        "Regeln:\n"
        "- Nutze immer die Werkzeuge für Zahlen, Pfade und Funde. Erfinde nie Größen, Pfade oder Programme.\n"
        "- Du kannst nichts löschen. Mit „auswaehlen“ markierst du Vorschläge; der Nutzer prüft und bestätigt sie "
        "selbst.\n"
        "- Schlage zuerst vor, was sich von selbst neu bildet (Caches, Bauordner). Eigene Dateien, Fotos, Dokumente "
        "nur, wenn der Nutzer es ausdrücklich will.\n"
        "- Wenn du dir bei einem Ordner nicht sicher bist, sag das und rate nicht.\n"
        "- Größen nennst du so, wie die Werkzeuge sie liefern.";
    // The instructions for the profile: a Mac's verbatim, and the same for a program on Linux.
    static std::string anweisungenFuer(Katalogprofil profil);
    static constexpr const char* zuLangText =
        "Die Unterhaltung wurde zu lang für das Modell auf dem Gerät. Ich habe neu angefangen – frag bitte noch "
        "einmal.";
    static constexpr const char* schiefText = "Das ging schief: ";
    static constexpr const char* stummText = "Darauf hatte das Modell keine Antwort.";
    static constexpr const char* abgeschnittenText =
        "Hier hat der Server die Antwort abgeschnitten: Sie stieß an seine Grenze für die Länge einer Antwort "
        "oder an das Ende des Kontexts. Schreib „weiter“, dann erzählt das Modell weiter – oder starte den Server "
        "mit mehr Platz (llama-server: -n für die Länge einer Antwort, -c für den Kontext).";
    static constexpr const char* abgeschnittenLeerText =
        "Der Server hat die Antwort abgeschnitten, bevor das Modell etwas sagen konnte.";
    static constexpr const char* abgebrochenText = "Abgebrochen.";
    static constexpr const char* abgebrochenHinweis = "Abgebrochen – hier hast du die Antwort angehalten.";
    static constexpr const char* vorschlagTitel = "Vorschlag des Assistenten";

    // Answers the model's questions from now on.
    Assistent(AppModell& modell, std::unique_ptr<Sprachmodell> sprachmodell);

    // The model's assistant; the first call makes one from the settings ("kiAdresse", "kiModell")
    // and follows later changes of them.
    static Assistent& von(AppModell& modell);
    static std::unique_ptr<Sprachmodell> ausEinstellungen(Einstellungen& einstellungen);

    AppModell& modell() { return m_; }

    // Trimmed; nothing when empty or while an answer is being produced.
    void fragen(const std::string& text);
    // Stops the answer under way (what came so far stays on screen); nothing when none runs.
    void abbrechen();

    // What the model does while `kiDenkt`, and since when it does that (the phase, not a progress
    // report, sets the time).
    const Fortgang& fortgang() const { return fortgang_; }
    std::chrono::steady_clock::time_point fortgangSeit() const { return fortgangSeit_; }

    // A note beside an answer that did not end on its own.
    struct Hinweis {
        KiFehler::Art art;  // abgeschnitten or abgebrochen
        std::string text;
    };
    const Hinweis* hinweis(const std::string& antwortId) const;

    // The line that tells what the model is doing, for the page and the terminal: "Das Modell
    // liest deine Frage … 37 % · 0:42".
    static std::string fortgangText(const Fortgang& f, std::chrono::steady_clock::duration seit);
    // A fresh session with the instructions and the five tools.
    std::unique_ptr<Sitzung> kiSitzung();

    // Absent until the first check has answered.
    const std::optional<Verfuegbarkeit>& verfuegbarkeit() const { return verfuegbarkeit_; }
    void verfuegbarkeitPruefen();
    // A new model (other address or name): the session is dropped, availability asked anew. While
    // an answer streams this waits for its end.
    void setzeSprachmodell(std::unique_ptr<Sprachmodell> sprachmodell);
    // The language model's session of the conversation; none before the first question.
    const Sitzung* sitzung() const { return sitzung_.get(); }

signals:
    void verfuegbarkeitGeaendert();
    void fortgangGeaendert();
    void werkzeugGerufen(const QString& name);
    void beantwortet();  // an answer ended, well or not

private:
    void setzeAntwort(const std::string& id, const std::string& text);
    void setzeFortgang(const Fortgang& f);
    void fertig(const std::string& id, const std::optional<KiFehler>& fehler);
    std::string antwortText(const std::string& id) const;

    AppModell& m_;
    std::unique_ptr<Sprachmodell> sprachmodell_;
    std::unique_ptr<Sprachmodell> wartend_;
    std::optional<Verfuegbarkeit> verfuegbarkeit_;
    int pruefung_ = 0;
    Fortgang fortgang_;
    std::chrono::steady_clock::time_point fortgangSeit_{};
    std::map<std::string, Hinweis> hinweise_;
    // the language model's session: the conversation's state beside what the model shows
    std::unique_ptr<Sitzung> sitzung_;
};

}  // namespace hainbrem
