#pragma once
// The system's error numbers in German. The C library's own texts (strerror) are English unless
// a German locale is installed, and they would reach the user unchanged.
#include <string>
#include <string_view>

namespace hainbrem {

// A short German phrase for an errno value: "Keine Berechtigung", "Name oder Pfad zu lang".
// Numbers without a phrase of their own name themselves ("Systemfehler EFOO").
std::string systemFehler(int nummer);

// Why a path the user named can't be reached, as one sentence that names the path: a missing
// path is missing, a name longer than a file system allows or a path longer than the system
// takes in one piece says so with the figures, a file on the way says which part it is.
std::string pfadFehler(std::string_view pfad, int nummer);

// True when no system call takes `pfad` in one piece: a name in it longer than 255 bytes, or the
// whole longer than 4095. Such a path can't be named, whether or not something lies there.
bool istZuLang(std::string_view pfad);

// `text` cut to about `hoechstens` bytes for a message: its beginning, " … ", its end; never
// inside a UTF-8 character.
std::string gekuerzt(std::string_view text, size_t hoechstens = 90);

}  // namespace hainbrem
