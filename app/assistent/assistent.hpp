#pragma once
// The conversation: questions in, streamed answers into the model's `unterhaltung`, one at a
// time, on a session that keeps what was said until the model's context is full. It lives as a
// child of the model and answers the model's `frageStellen`; the page and `hainbrem frage` use it.
#include <QObject>
#include <QPointer>
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
    static constexpr const char* zuLangText =
        "Die Unterhaltung wurde zu lang für das Modell auf dem Gerät. Ich habe neu angefangen – frag bitte noch "
        "einmal.";
    static constexpr const char* schiefText = "Das ging schief: ";
    static constexpr const char* stummText = "Darauf hatte das Modell keine Antwort.";
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
    // A fresh session with the instructions and the five tools.
    std::unique_ptr<Sitzung> kiSitzung();

    // Absent until the first check has answered.
    const std::optional<Verfuegbarkeit>& verfuegbarkeit() const { return verfuegbarkeit_; }
    void verfuegbarkeitPruefen();
    // A new model (other address or name): the session is dropped, availability asked anew. While
    // an answer streams this waits for its end.
    void setzeSprachmodell(std::unique_ptr<Sprachmodell> sprachmodell);

signals:
    void verfuegbarkeitGeaendert();
    void werkzeugGerufen(const QString& name);
    void beantwortet();  // an answer ended, well or not

private:
    void setzeAntwort(const std::string& id, const std::string& text);
    void fertig(const std::string& id, const std::optional<KiFehler>& fehler);

    AppModell& m_;
    std::unique_ptr<Sprachmodell> sprachmodell_;
    std::unique_ptr<Sprachmodell> wartend_;
    std::optional<Verfuegbarkeit> verfuegbarkeit_;
    int pruefung_ = 0;
};

}  // namespace hainbrem
