#include "basis/systemfehler.hpp"

#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <cstring>

namespace hainbrem {

namespace {

// Linux's limits: one name of a directory entry, one path handed to a system call in one piece.
constexpr size_t nameMax = NAME_MAX;      // 255
constexpr size_t pfadMax = PATH_MAX - 1;  // 4095, without the closing zero byte

// "4.095": these figures are read, not computed with.
std::string gruppiert(size_t zahl) {
    const std::string ziffern = std::to_string(zahl);
    std::string text;
    for (size_t i = 0; i < ziffern.size(); ++i) {
        if (i > 0 && (ziffern.size() - i) % 3 == 0) text += '.';
        text += ziffern[i];
    }
    return text;
}

bool folgeByte(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

// The first part of `pfad` (cut at a slash) that exists and is no folder.
std::string ersteDateiAufDemWeg(std::string_view pfad) {
    for (size_t ende = pfad.find('/', 1); ende != std::string_view::npos; ende = pfad.find('/', ende + 1)) {
        const std::string teil(pfad.substr(0, ende));
        struct stat st {};
        if (::stat(teil.c_str(), &st) == 0 && !S_ISDIR(st.st_mode)) return teil;
    }
    return {};
}

}  // namespace

std::string systemFehler(int nummer) {
    switch (nummer) {
        case EPERM: return "Nicht erlaubt";
        case EACCES: return "Keine Berechtigung";
        case ENOENT: return "Gibt es nicht";
        case ENOTDIR: return "Ein Teil des Pfads ist kein Ordner";
        case EISDIR: return "Ist ein Ordner";
        case ENAMETOOLONG: return "Name oder Pfad zu lang";
        case ELOOP: return "Zu viele symbolische Links hintereinander";
        case ENOSPC:
        case EDQUOT: return "Kein Platz mehr auf dem Datenträger";
        case EROFS: return "Der Datenträger ist schreibgeschützt";
        case EIO: return "Lese- oder Schreibfehler des Datenträgers";
        case EBUSY: return "Wird gerade benutzt";
        case ETXTBSY: return "Die Programmdatei wird gerade benutzt";
        case EXDEV: return "Liegt auf einem anderen Datenträger";
        case EEXIST: return "Gibt es schon";
        case ENOTEMPTY: return "Der Ordner ist nicht leer";
        case EMFILE:
        case ENFILE: return "Zu viele offene Dateien";
        case ENOMEM: return "Zu wenig Arbeitsspeicher";
        case EINVAL: return "Ungültige Angabe";
        case ENOEXEC: return "Keine ausführbare Datei für dieses System";
        case EAGAIN: return "Gerade nicht möglich, bitte später noch einmal";
        case EINTR: return "Unterbrochen";
        case ESTALE: return "Die Datei auf dem Netzlaufwerk gibt es so nicht mehr";
        case ENODEV:
        case ENXIO: return "Das Gerät gibt es nicht";
        case ETIMEDOUT: return "Zeitüberschreitung";
        case EOVERFLOW: return "Zu groß für diese Abfrage";
        case EFBIG: return "Die Datei wäre zu groß";
        default: break;
    }
    const char* name = ::strerrorname_np(nummer);
    return name ? std::string("Systemfehler ") + name : "Systemfehler Nummer " + std::to_string(nummer);
}

std::string pfadFehler(std::string_view pfad, int nummer) {
    const std::string genannt = "„" + gekuerzt(pfad) + "“";
    switch (nummer) {
        case ENOENT: return genannt + " gibt es nicht.";
        case ENAMETOOLONG: {
            for (size_t anfang = 0; anfang <= pfad.size();) {
                size_t ende = pfad.find('/', anfang);
                if (ende == std::string_view::npos) ende = pfad.size();
                if (ende - anfang > nameMax)
                    return genannt + " ist zu lang: Der Name „" + gekuerzt(pfad.substr(anfang, ende - anfang), 40) +
                           "“ hat " + gruppiert(ende - anfang) + " Byte, ein Name darf höchstens " +
                           gruppiert(nameMax) + " Byte haben.";
                anfang = ende + 1;
            }
            if (pfad.size() > pfadMax)
                return genannt + " ist zu lang: " + gruppiert(pfad.size()) + " Byte, das System nimmt einen Pfad " +
                       "mit höchstens " + gruppiert(pfadMax) + " Byte. Wechsle mit cd in einen Ordner näher daran " +
                       "und nenne den Rest von dort aus.";
            return genannt + " ist zu lang: Von hier aus gerechnet hat der ganze Pfad mehr als " + gruppiert(pfadMax) +
                   " Byte, mehr nimmt das System nicht. Wechsle mit cd in einen Ordner näher daran.";
        }
        case ENOTDIR: {
            const std::string datei = ersteDateiAufDemWeg(pfad);
            if (datei.empty()) return genannt + ": Ein Teil davon ist kein Ordner.";
            return genannt + " gibt es nicht: „" + gekuerzt(datei) + "“ ist eine Datei, kein Ordner.";
        }
        case EACCES:
            return genannt + " ist nicht erreichbar: Einen Ordner auf dem Weg darfst du nicht öffnen (keine "
                             "Berechtigung).";
        case ELOOP:
            return genannt + " ist nicht erreichbar: zu viele symbolische Links hintereinander, vielleicht ein Link, "
                             "der auf sich selbst zeigt.";
        default: return genannt + " ist nicht erreichbar: " + systemFehler(nummer) + ".";
    }
}

bool istZuLang(std::string_view pfad) {
    if (pfad.size() > pfadMax) return true;
    for (size_t anfang = 0; anfang <= pfad.size();) {
        size_t ende = pfad.find('/', anfang);
        if (ende == std::string_view::npos) ende = pfad.size();
        if (ende - anfang > nameMax) return true;
        anfang = ende + 1;
    }
    return false;
}

std::string gekuerzt(std::string_view text, size_t hoechstens) {
    if (text.size() <= hoechstens || hoechstens < 8) return std::string(text);
    size_t vorn = hoechstens * 2 / 3;
    size_t hinten = text.size() - (hoechstens - vorn);
    while (vorn > 0 && folgeByte(text[vorn])) --vorn;
    while (hinten < text.size() && folgeByte(text[hinten])) ++hinten;
    return std::string(text.substr(0, vorn)) + " … " + std::string(text.substr(hinten));
}

}  // namespace hainbrem
