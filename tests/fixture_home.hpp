#pragma once
// test::MacHome — a small but realistic Mac home for finder tests, built inside a
// test::Testordner so no test ever sees a real home.
//
// Layout below the Testordner:
//   home/           the home folder (Library/…, dot folders, Downloads, Desktop, the Trash)
//   var/T/          the user's temporary folder; var/X/com.google.Chrome.code_sign_clone beside it,
//                   as on a Mac where T and X share one per-user parent
//   Applications/   a fixture Applications folder (Chrome with old versions, a few programs)
//
// Every file holds real, non-sparse bytes (a few KiB), so measured sizes are above zero.
// Ages are set after the contents are written, so they hold. The exact list of what the home
// contains is the `MacHome::MacHome` body in fixture_home.cpp; each cleanup rule has something
// to find and something it must leave alone (see the comments there).
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <string_view>

#include "kern/datensaetze.hpp"
#include "testordner.hpp"

namespace hainbrem::test {

class MacHome {
public:
    // Builds the whole home at once.
    explicit MacHome(const Testordner& ordner);

    const fs::path& home() const { return home_; }
    const fs::path& temp() const { return temp_; }
    const fs::path& programme() const { return programme_; }
    // The Trash folder of this home (~/.local/share/Trash/files on Linux, ~/.Trash on a Mac).
    const fs::path& papierkorb() const { return papierkorb_; }
    // The Trash entry that Hainbrem itself put there (30 days ago).
    const fs::path& vonHainbrem() const { return vonHainbrem_; }

    // An Umgebung for this home: full disk access, nothing running, the Hainbrem Trash entry known.
    Umgebung umgebung(bool vollzugriff = true, std::function<bool(const std::string&)> laeuft = {}) const;

    // A file of `bytes` real bytes below home, `tageAlt` days old (0: now). Parents are created.
    fs::path datei(std::string_view rel, size_t bytes = 4096, double tageAlt = 0) const;
    // A folder below home holding one file `inhalt` of `bytes`; folder and file `tageAlt` days old.
    fs::path ordnerMitDatei(std::string_view rel, size_t bytes = 4096, double tageAlt = 0,
                            std::string_view inhalt = "daten.bin") const;
    // A Trash entry with its .trashinfo (where the Trash keeps one) saying it was added `tageAlt` ago.
    fs::path wegwerfen(std::string_view name, double tageAlt, size_t bytes = 4096) const;

    // Sets the modification time of the item and everything below it to `tageAlt` days ago.
    static void altereBaum(const fs::path& p, double tageAlt);

private:
    const Testordner& ordner_;
    fs::path home_, temp_, programme_, papierkorb_, vonHainbrem_;
};

}  // namespace hainbrem::test
