#include "kern/safetyguard.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <fnmatch.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "basis/pfade.hpp"
#include "kern/eigenschaftsliste.hpp"
#include "kern/erkennen.hpp"
#include "kern/namen.hpp"
#include "kern/paketsysteme.hpp"
#include "kern/regel_namen.hpp"
#include "plattform/programme.hpp"
#include "plattform/plattform.hpp"

namespace hainbrem {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view chromeVersionen =
    "/Google Chrome.app/Contents/Frameworks/Google Chrome Framework.framework/Versions";
constexpr std::string_view chromeKopien = "X/com.google.Chrome.code_sign_clone";
constexpr std::string_view mailAnhaenge = "library/containers/com.apple.mail/data/library/mail downloads";

// Below the home or temp folder. A root given as either would hand the whole disk to their
// rules, so it holds nothing here.
bool liegtUnter(std::string_view pfad, std::string_view ordner) { return ordner != "/" && liegtIn(pfad, ordner); }

std::optional<std::string> echterPfad(const std::string& pfad) {
    std::unique_ptr<char, decltype(&std::free)> echt(::realpath(pfad.c_str(), nullptr), &std::free);
    if (!echt) return std::nullopt;
    return std::string(echt.get());
}

std::string aufgeloestOderGegeben(const fs::path& p) {
    if (auto echt = echterPfad(p.native())) return *echt;
    return std::string(ohneSchraegstrichAmEnde(p.native()));
}

// Calls `f(name)` for every entry but "." and ".."; `f` returns false to stop. False when the
// folder cannot be listed.
template <typename F>
bool listeOrdner(const fs::path& ordner, F&& f) {
    DIR* d = ::opendir(ordner.c_str());
    if (!d) return false;
    while (const dirent* e = ::readdir(d)) {
        const std::string_view n = e->d_name;
        if (n == "." || n == "..") continue;
        if (!f(n)) break;
    }
    ::closedir(d);
    return true;
}

std::vector<std::string> teileVon(std::string_view rel) {
    std::vector<std::string> teile;
    size_t anfang = 0;
    while (anfang <= rel.size()) {
        const size_t ende = std::min(rel.find('/', anfang), rel.size());
        if (ende > anfang) teile.emplace_back(rel.substr(anfang, ende - anfang));
        anfang = ende + 1;
    }
    return teile;
}

// How many leading parts of `teile` the pattern covers ("*" is one whole name), or none when they
// do not match it. Exact spelling: these rules allow deleting.
std::optional<size_t> passtMuster(std::string_view muster, const std::vector<std::string>& teile) {
    const std::vector<std::string> stuecke = teileVon(muster);
    if (teile.size() < stuecke.size()) return std::nullopt;
    for (size_t i = 0; i < stuecke.size(); ++i)
        if (::fnmatch(stuecke[i].c_str(), teile[i].c_str(), 0) != 0) return std::nullopt;
    return stuecke.size();
}

// The same ignoring case: for zones that refuse, a wrong case must not slip through.
std::optional<size_t> passtMusterOhneFall(std::string_view muster, const std::vector<std::string>& teile) {
    const std::vector<std::string> stuecke = teileVon(muster);
    if (teile.size() < stuecke.size()) return std::nullopt;
    for (size_t i = 0; i < stuecke.size(); ++i)
        if (::fnmatch(klein(stuecke[i]).c_str(), klein(teile[i]).c_str(), 0) != 0) return std::nullopt;
    return stuecke.size();
}

// Digits compared as numbers, without limits on their length: "1.10.0" after "1.9.3".
int vergleicheVersion(std::string_view a, std::string_view b) {
    auto zahlen = [](std::string_view v) {
        std::vector<std::string_view> z;
        size_t anfang = 0;
        while (anfang <= v.size()) {
            const size_t ende = std::min(v.find('.', anfang), v.size());
            std::string_view t = v.substr(anfang, ende - anfang);
            while (t.size() > 1 && t.front() == '0') t.remove_prefix(1);
            z.push_back(t);
            anfang = ende + 1;
        }
        return z;
    };
    const auto x = zahlen(a), y = zahlen(b);
    for (size_t i = 0; i < std::min(x.size(), y.size()); ++i) {
        if (x[i].size() != y[i].size()) return x[i].size() < y[i].size() ? -1 : 1;
        if (const int c = x[i].compare(y[i]); c != 0) return c < 0 ? -1 : 1;
    }
    if (x.size() != y.size()) return x.size() < y.size() ? -1 : 1;
    return 0;
}

// The part of `p` below home, from the home as given or as resolved; empty when outside.
std::string relativZuHomeGenau(const fs::path& p, const fs::path& gegeben, const std::string& echt) {
    const std::string s = p.lexically_normal().native();
    for (const std::string& basis : {gegeben.lexically_normal().native(), echt})
        if (liegtUnter(s, basis)) return std::string(relativ(s, basis));
    return {};
}

std::string relativZuHome(const fs::path& p, const fs::path& gegeben, const std::string& echt) {
    return klein(relativZuHomeGenau(p, gegeben, echt));
}

// Secrets, and browser and mail profiles: refused like the fixed zones, whatever the profile
// (a Mac user's ~/.password-store is as precious). Inside a browser's or mail program's
// profile only its cache folders (`cacheNamen`) and crash reports (`absturzberichtNamen`) are
// not part of the zone.
bool inGeheimemOrt(const std::vector<std::string>& teile) {
    for (std::string_view zone : Namen::geheimeOrte)
        if (const auto k = passtMusterOhneFall(zone, teile)) return true;
    const auto profil = [&](size_t k) {
        for (size_t i = k; i < teile.size(); ++i)
            if (Namen::enthaelt(Namen::cacheNamen, teile[i]) || Namen::enthaelt(Namen::absturzberichtNamen, teile[i]))
                return false;
        return true;
    };
    for (std::string_view zone : Namen::profilOrte)
        if (const auto k = passtMusterOhneFall(zone, teile)) return profil(*k);
    for (const auto& [ordner, programm] : RegelNamen::browserOrdnerLinux) {
        for (std::string_view vorn : {".config/", ".var/app/*/config/"}) {
            const std::string zone = std::string(vorn) + std::string(ordner);
            if (const auto k = passtMusterOhneFall(zone, teile)) return profil(*k);
        }
    }
    return false;
}

}  // namespace

SafetyGuard::SafetyGuard(const fs::path& home, const fs::path& temp, fs::path programme, std::string eigeneKennung,
                         Katalogprofil katalog, const fs::path& absturzOrdner)
    : home_(aufgeloestOderGegeben(home)),
      homeGegeben_(ohneSchraegstrichAmEnde(home.lexically_normal().native())),
      temp_(aufgeloestOderGegeben(waehleTemp(home, temp).ordner)),
      programme_(aufgeloestOderGegeben(programme)),
      eigeneKennung_(std::move(eigeneKennung)),
      profil_(katalog),
      absturzOrdner_(aufgeloestOderGegeben(absturzOrdner)) {
    const plattform::Profil profil = plattform::profil(home);
    papierkorbRel_ = relativZuHome(profil.papierkorb, home, home_);
    papierkorbGenau_ = relativZuHomeGenau(profil.papierkorb, home, home_);
    if (fs::path(papierkorbGenau_).filename() == "files")
        papierkorbInfoGenau_ = (fs::path(papierkorbGenau_).parent_path() / "info").native();
    verlaufRel_ = relativZuHome(profil.verlaufOrdner, home, home_);
    flatpakRel_ = relativZuHome(plattform::flatpakNutzer(home), home, home_);
    if (!papierkorbRel_.empty()) {
        // freedesktop.org keeps a record per item in "info" beside "files"; both go together
        const fs::path p(papierkorbRel_);
        if (p.filename() == "files") papierkorbInfoRel_ = (p.parent_path() / "info").native();
        for (fs::path weg = p; !weg.empty(); weg = weg.parent_path()) zusatzStandardordner_.push_back(weg.native());
        if (!papierkorbInfoRel_.empty()) zusatzStandardordner_.push_back(papierkorbInfoRel_);
    }
    // The desktop's standard folders in their configured, perhaps localized names (~/Bilder)
    // are standard folders as well.
    std::vector<fs::path> standard = profil.standardordner;
    standard.insert(standard.end(), {profil.downloads, profil.schreibtisch, profil.dokumente});
    for (const fs::path& p : standard)
        if (const std::string rel = relativZuHome(p, home, home_); !rel.empty() && rel.find('/') == std::string::npos)
            zusatzStandardordner_.push_back(rel);
    // Longest first: a path is opened from the innermost trusted folder it lies in.
    const auto wurzel = [&](const fs::path& gegeben, const std::string& echt) {
        const std::string g(ohneSchraegstrichAmEnde(gegeben.lexically_normal().native()));
        if (!g.empty() && g.front() == '/') wurzeln_.emplace_back(g, echt);
        if (echt != g && !echt.empty() && echt.front() == '/') wurzeln_.emplace_back(echt, echt);
    };
    wurzel(home, home_);
    wurzel(temp, temp_);
    wurzel(temp_, temp_);
    wurzel(programme, programme_);
    wurzel(absturzOrdner, absturzOrdner_);
    wurzeln_.emplace_back("/", "/");
    std::stable_sort(wurzeln_.begin(), wurzeln_.end(),
                     [](const auto& a, const auto& b) { return a.first.size() > b.first.size(); });
}

fs::path SafetyGuard::benutzerTemp() { return benutzerTemp(plattform::heimOrdner()).ordner; }

TempWahl SafetyGuard::benutzerTemp(const fs::path& home) { return waehleTemp(home, plattform::benutzerTemp()); }

Urteil SafetyGuard::pruefe(const fs::path& url, Entsorgung art) const { return pruefeGeprueft(url, art, nullptr); }

Urteil SafetyGuard::pruefeGeprueft(const fs::path& url, Entsorgung art, struct stat* elternStat) const {
    const std::string& roh = url.native();
    if (roh.empty() || roh.find('\0') != std::string::npos) return Urteil::abgelehnt(Ablehnung::keinGueltigerPfad);
    if (roh.front() != '/') return Urteil::abgelehnt(Ablehnung::keinGueltigerPfad);
    if (hatPunktTeil(roh.substr(0, roh.rfind('/')))) return Urteil::abgelehnt(Ablehnung::keinGueltigerPfad);

    const size_t schnitt = roh.rfind('/');
    std::string name = roh.substr(schnitt + 1);
    // A trailing "/" leaves no name: such a path would reach through a link to its target.
    if (name.empty() || name == "." || name == ".." || name == "/")
        return Urteil::abgelehnt(Ablehnung::keinGueltigerName);

    // Only the parent chain is resolved: a symbolic link is judged as the link, never its target.
    const std::optional<std::string> eltern = echterPfad(schnitt == 0 ? std::string("/") : roh.substr(0, schnitt));
    struct stat st {};
    if (!eltern || ::stat(eltern->c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
        return Urteil::abgelehnt(Ablehnung::ordnerFehlt);
    if (elternStat) *elternStat = st;
    if (auto aufPlatte = nameAufPlatte(name, *eltern)) name = std::move(*aufPlatte);
    return urteilFuer(*eltern == "/" ? "/" + name : *eltern + "/" + name, art);
}

Urteil SafetyGuard::urteilFuer(const std::string& pfad, Entsorgung art) const {
    // a package's program leaves only through its package system, wherever it lies
    if (art == Entsorgung::deinstallieren) return pruefeDeinstallation(pfad);
    if (pfad == home_) return pruefeImHome(pfad, "", art);
    if (liegtUnter(pfad, home_)) return pruefeImHome(pfad, std::string(relativ(pfad, home_)), art);

    if (liegtUnter(pfad, temp_)) return pruefeTemp(pfad, art);
    if (profil_ == Katalogprofil::linuxDesktop && liegtUnter(pfad, absturzOrdner_)) return pruefeAbsturz(pfad, art);

    const std::string kopien = (fs::path(temp_).parent_path() / chromeKopien).native();
    if (liegtUnter(pfad, kopien))
        return art == Entsorgung::loeschen ? Urteil::erlaubt() : Urteil::abgelehnt(Ablehnung::wirdGeloescht);

    if (!liegtUnter(pfad, programme_)) return Urteil::abgelehnt(Ablehnung::ausserhalb);
    return pruefeProgramm(pfad, art);
}

Urteil SafetyGuard::pruefeDeinstallation(const std::string& pfad) const {
    const auto d = Paketsysteme::deinstallation(pfad, home_);
    if (!d) return Urteil::abgelehnt(Ablehnung::keinPaketprogramm);
    if (!eigeneKennung_.empty() && d->kennung == eigeneKennung_) return Urteil::abgelehnt(Ablehnung::selbst);
    return Urteil::erlaubt();
}

int SafetyGuard::oeffneEltern(const std::string& pfad, bool anlegen, std::string& elternPfad) const {
    if (pfad.empty() || pfad.front() != '/' || hatPunktTeil(pfad)) return -EINVAL;
    const std::string eltern = pfad.substr(0, std::max<size_t>(pfad.rfind('/'), 1));
    for (const auto& [gegeben, echt] : wurzeln_) {
        if (!liegtInOderIst(eltern, gegeben)) continue;
        // the trusted folder's own spelling may hold links (a home below a linked /home); below it none
        plattform::Griff wurzel(::open(echt.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!wurzel) return -errno;
        const std::string rel(relativ(eltern, gegeben));
        elternPfad = rel.empty() ? echt : (echt == "/" ? "/" + rel : echt + "/" + rel);
        int fd = plattform::oeffneOrdnerOhneLinks(wurzel.fd(), rel);
        if (fd != -ENOENT || !anlegen) return fd;
        // create what is missing, one folder at a time, each opened without links
        plattform::Griff ort(plattform::oeffneOrdnerOhneLinks(wurzel.fd(), ""));
        for (const std::string& teil : teileVon(rel)) {
            if (!ort) return ort.fd();
            if (::mkdirat(ort.fd(), teil.c_str(), 0777) != 0 && errno != EEXIST) return -errno;
            ort = plattform::Griff(plattform::oeffneOrdnerOhneLinks(ort.fd(), teil));
        }
        return ort ? ::dup(ort.fd()) : ort.fd();
    }
    return -EINVAL;
}

SafetyGuard::Freigabe SafetyGuard::freigeben(const fs::path& url, Entsorgung art) const {
    const auto abgelehnt = [](Ablehnung a) { return Freigabe{Urteil::abgelehnt(a), std::nullopt}; };
    plattform::Ort ort;
    const int fd = oeffneEltern(url.native(), false, ort.elternPfad);
    if (fd < 0) {
        if (fd == -ELOOP || fd == -ENOTDIR) return abgelehnt(Ablehnung::wegGetauscht);
        if (fd == -EINVAL) return abgelehnt(Ablehnung::keinGueltigerPfad);
        return abgelehnt(Ablehnung::ordnerFehlt);
    }
    ort.eltern = plattform::Griff(fd);
    ort.name = url.filename().native();
    struct stat offen {};
    if (::fstat(fd, &offen) != 0) return abgelehnt(Ablehnung::ordnerFehlt);
    ort.geraet = offen.st_dev;
    ort.inode = offen.st_ino;

    struct stat geprueft {};
    const Urteil u = pruefeGeprueft(url, art, &geprueft);
    if (!u.istErlaubt()) return Freigabe{u, std::nullopt};
    if (geprueft.st_dev != ort.geraet || geprueft.st_ino != ort.inode) return abgelehnt(Ablehnung::wegGetauscht);
    return Freigabe{u, std::move(ort)};
}

Ergebnis<plattform::Ort> SafetyGuard::rueckgabeOrt(const fs::path& pfad) const {
    const std::string& roh = pfad.native();
    const std::string name = pfad.filename().native();
    if (roh.empty() || roh.front() != '/' || hatPunktTeil(roh) || name.empty())
        return Fehlschlag{std::string(grundText(Ablehnung::keinGueltigerPfad))};
    // the place as it will be: the trusted folder resolved, the rest as recorded (made without links)
    const std::string eltern = roh.substr(0, std::max<size_t>(roh.rfind('/'), 1));
    std::string kanonisch;
    for (const auto& [gegeben, echt] : wurzeln_)
        if (liegtInOderIst(eltern, gegeben)) {
            const std::string rel(relativ(roh, gegeben));
            kanonisch = echt == "/" ? "/" + rel : echt + "/" + rel;
            break;
        }
    if (const Urteil u = urteilFuer(kanonisch, Entsorgung::papierkorb); !u.istErlaubt()) return Fehlschlag{u.grund()};
    plattform::Ort ort;
    const int fd = oeffneEltern(roh, true, ort.elternPfad);
    if (fd < 0) {
        if (fd == -ELOOP || fd == -ENOTDIR) return Fehlschlag{std::string(grundText(Ablehnung::wegGetauscht))};
        return Fehlschlag{std::string(grundText(Ablehnung::ordnerFehlt))};
    }
    ort.eltern = plattform::Griff(fd);
    ort.name = name;
    struct stat st {};
    if (::fstat(fd, &st) != 0) return Fehlschlag{std::string(grundText(Ablehnung::ordnerFehlt))};
    ort.geraet = st.st_dev;
    ort.inode = st.st_ino;
    return ort;
}

Urteil SafetyGuard::pruefeTemp(const std::string& pfad, Entsorgung art) const {
    if (art != Entsorgung::loeschen) return Urteil::abgelehnt(Ablehnung::tempWirdGeloescht);
    if (liegtUnter(home_, pfad)) return Urteil::abgelehnt(Ablehnung::enthaeltHome);
    // Only what is ours: the entry directly in the temp folder and the item itself.
    const std::string rest = pfad.substr(temp_.size() + 1);
    const std::string oben = rest.substr(0, rest.find('/'));
    if (istTempSystemEintrag(oben)) return Urteil::abgelehnt(Ablehnung::systemEintrag);
    const std::string eintrag = temp_ + "/" + oben;
    const uid_t ich = ::geteuid();
    if (ich == 0 && istGemeinsamerOrdner(temp_)) return Urteil::abgelehnt(Ablehnung::gemeinsamAlsRoot);
    for (const std::string& p : {eintrag, pfad}) {
        struct stat st {};
        if (::lstat(p.c_str(), &st) == 0 && st.st_uid != ich) return Urteil::abgelehnt(Ablehnung::fremderEintrag);
    }
    return Urteil::erlaubt();
}

// Crash reports lie in one shared folder: only the user's own files directly in it, and only
// deleted (the Trash would keep them on the same disk).
Urteil SafetyGuard::pruefeAbsturz(const std::string& pfad, Entsorgung art) const {
    if (art != Entsorgung::loeschen) return Urteil::abgelehnt(Ablehnung::wirdGeloescht);
    struct stat st {};
    if (pfad.find('/', absturzOrdner_.size() + 1) != std::string::npos || ::lstat(pfad.c_str(), &st) != 0 ||
        !S_ISREG(st.st_mode))
        return Urteil::abgelehnt(Ablehnung::nurAbsturzberichte);
    if (st.st_uid != ::geteuid()) return Urteil::abgelehnt(Ablehnung::fremderEintrag);
    return Urteil::erlaubt();
}

Urteil SafetyGuard::pruefeImHome(const std::string& pfad, const std::string& rel, Entsorgung art) const {
    if (rel.empty()) return Urteil::abgelehnt(Ablehnung::benutzerordner);
    const std::vector<std::string> teile = teileVon(rel);
    const std::string relKlein = klein(rel);

    if (teile.size() == 1)
        for (std::string_view g : Namen::geschuetzteHomeOrdner)
            if (gleichOhneFall(teile[0], g)) return Urteil::abgelehnt(Ablehnung::standardordner);
    for (const std::string& z : zusatzStandardordner_)
        if (relKlein == z) return Urteil::abgelehnt(Ablehnung::standardordner);
    // ~/.local/<x> is to Linux what ~/Library/<x> is to macOS.
    if (profil_ == Katalogprofil::linuxDesktop && teile.size() == 2 && klein(teile[0]) == ".local")
        return Urteil::abgelehnt(Ablehnung::standardordner);

    if (teile.size() == 2 && klein(teile[0]) == "library") return Urteil::abgelehnt(Ablehnung::libraryGrundordner);

    // Mail attachments may go, the folder holding them stays.
    if (!liegtIn(relKlein, mailAnhaenge) && (relKlein.starts_with("library/group containers/group.com.apple.") ||
                                             relKlein.starts_with("library/containers/com.apple.")))
        return Urteil::abgelehnt(Ablehnung::appleDaten);

    for (std::string_view zone : Namen::sperrzonen)
        if (liegtInOderIst(relKlein, klein(zone)))
            return Urteil::abgelehnt(zone.starts_with("Library/Mobile Documents") ? Ablehnung::iCloud
                                                                                  : Ablehnung::geschuetzt);
    if (inGeheimemOrt(teile)) return Urteil::abgelehnt(Ablehnung::geschuetzt);
    if (!verlaufRel_.empty() && liegtInOderIst(relKlein, verlaufRel_)) return Urteil::abgelehnt(Ablehnung::geschuetzt);

    for (const std::string& t : teile)
        if (klein(t) == ".git") return Urteil::abgelehnt(Ablehnung::gitArchiv);
    for (const std::string& t : teile)
        if (klein(t).ends_with(".photoslibrary")) return Urteil::abgelehnt(Ablehnung::fotos);

    // The user's Flatpak installation belongs to flatpak: only the user's permission overrides are
    // plain files of the user's.
    if (!flatpakRel_.empty() && liegtInOderIst(relKlein, flatpakRel_)) {
        const std::string_view innen = relativ(relKlein, flatpakRel_);
        if (!innen.starts_with("overrides/") || innen.find('/', 10) != std::string_view::npos)
            return Urteil::abgelehnt(Ablehnung::paketsystem);
    }

    // Programs in the user's own Applications folder are judged like those of the system.
    if (teile.front() == "Applications" && teile.back().ends_with(".app")) return pruefeProgramm(pfad, art);

    if (art == Entsorgung::papierkorb) return Urteil::erlaubt();
    return darfLoeschen(pfad, rel, teile);
}

Urteil SafetyGuard::darfLoeschen(const std::string& pfad, const std::string& rel,
                                 const std::vector<std::string>& teile) const {
    const auto wurzelUrteil = [&](std::string_view w, bool nurInhalt) -> std::optional<Urteil> {
        if (!liegtInOderIst(rel, w)) return std::nullopt;
        if (rel == w && nurInhalt) return Urteil::abgelehnt(Ablehnung::nurInhalt);
        if (w == "Library/Caches") {
            const std::string& b = teile[2];
            if (b.starts_with("com.apple.") && !Namen::enthaelt(Namen::appleCachesErlaubt, b))
                return Urteil::abgelehnt(Ablehnung::appleCache);
            if (Namen::enthaelt(Namen::keinCache, klein(b))) return Urteil::abgelehnt(Ablehnung::echteDaten);
        }
        if (w == ".cache" && teile.size() >= 2 && Namen::enthaelt(Namen::keinCache, klein(teile[1])))
            return Urteil::abgelehnt(Ablehnung::echteDaten);
        return Urteil::erlaubt();
    };
    for (std::string_view w : Namen::loeschWurzeln)
        if (auto u = wurzelUrteil(w, Namen::enthaelt(Namen::nurInhalt, w))) return *u;
    // The Linux Trash (and its records) is treated like ~/.Trash. This allows deleting, so only
    // the exact spelling counts: on a case-sensitive disk ".../TRASH/files" is somebody's folder.
    for (const std::string* w : {&papierkorbGenau_, &papierkorbInfoGenau_})
        if (!w->empty() && liegtInOderIst(rel, *w))
            return rel == *w ? Urteil::abgelehnt(Ablehnung::nurInhalt) : Urteil::erlaubt();

    if (profil_ == Katalogprofil::linuxDesktop)
        if (auto u = darfLoeschenLinux(pfad, teile)) return *u;

    const size_t n = teile.size();
    if (n >= 4 && teile[0] == "Library" && teile[1] == "Application Support")
        for (size_t i = 3; i < n; ++i)
            if (Namen::enthaelt(Namen::cacheNamen, teile[i])) return Urteil::erlaubt();
    if (n >= 7 && teile[0] == "Library" && teile[1] == "Containers" && teile[3] == "Data" && teile[4] == "Library" &&
        teile[5] == "Caches" && !teile[2].starts_with("com.apple."))
        return Urteil::erlaubt();
    if (n == 0) return Urteil::abgelehnt(Ablehnung::keinCache);

    const std::string eltern = pfad.substr(0, pfad.rfind('/'));
    // Electron apps keep every installed version beside the newest one.
    if (n == 4 && teile[1] == "Application Support" && istVersionsOrdner(teile[3])) {
        const auto neueste = neuesteAppVersion(eltern);
        if (neueste && *neueste != teile[3]) return Urteil::erlaubt();
    }
    if (teile[0] == "Library") return Urteil::abgelehnt(Ablehnung::keinCache);

    const Namen::Bauordner* bau = Namen::bauordnerFuer(teile.back());
    if (!bau) return Urteil::abgelehnt(Ablehnung::keinCache);
    if (teile.back() == "DerivedData") {
        bool projekt = false;
        listeOrdner(eltern, [&](std::string_view e) {
            projekt = e.ends_with(".xcodeproj") || e.ends_with(".xcworkspace");
            return !projekt;
        });
        return projekt ? Urteil::erlaubt() : Urteil::abgelehnt(Ablehnung::keinProjekt);
    }
    for (std::string_view marker : bau->marker) {
        struct stat st {};
        if (::stat((eltern + "/").append(marker).c_str(), &st) == 0) return Urteil::erlaubt();
    }
    return Urteil::abgelehnt(Ablehnung::keinProjekt);
}

// The Linux desktop's own places; none when no rule of them speaks for the path.
std::optional<Urteil> SafetyGuard::darfLoeschenLinux(const std::string& pfad, const std::vector<std::string>& teile) const {
    const size_t n = teile.size();
    // the folder the first `k` parts name
    const auto ort = [&](size_t k) {
        std::string o = home_;
        for (size_t i = 0; i < k; ++i) (o += '/') += teile[i];
        return o;
    };
    const auto wurzelUrteil = [&](const Namen::Wurzel& w) -> std::optional<Urteil> {
        const auto k = passtMuster(w.muster, teile);
        if (!k) return std::nullopt;
        if (!w.marker.empty()) {
            struct stat st {};
            if (::lstat((ort(*k) + "/").append(w.marker).c_str(), &st) != 0 || !S_ISREG(st.st_mode))
                return std::nullopt;
        }
        if (*k == n && w.nurInhalt) return Urteil::abgelehnt(Ablehnung::nurInhalt);
        // a sandboxed program's cache may hold real data as ~/.cache may
        if (w.nurInhalt && Namen::enthaelt(Namen::keinCache, klein(teile[*k])))
            return Urteil::abgelehnt(Ablehnung::echteDaten);
        return Urteil::erlaubt();
    };
    for (const Namen::Wurzel& w : Namen::linuxLoeschWurzeln)
        if (auto u = wurzelUrteil(w)) return u;
    for (const auto* liste : {&Namen::steamShaderOrdner, &Namen::serverProtokollOrdner})
        for (std::string_view muster : *liste)
            if (auto u = wurzelUrteil({muster, true})) return u;
    for (std::string_view muster : Namen::browserAbsturzOrdner)
        if (auto u = wurzelUrteil({muster, false})) return u;
    for (std::string_view o : Namen::linuxProtokollOrte)
        if (const auto k = passtMuster(o, teile); k && *k < n && Namen::istProtokollName(teile[*k]))
            return Urteil::erlaubt();
    // a program's log folder, and what lies in it, when it holds nothing but logs
    if (const auto k = passtMuster(Namen::linuxProtokollBaumOrt, teile); k && Erkennen::istProtokollBaum(ort(*k)))
        return Urteil::erlaubt();
    if (istKernAbbildOrt(teile) && Erkennen::istKernAbbild(pfad)) return Urteil::erlaubt();
    for (std::string_view o : Namen::linuxCacheOrte)
        if (const auto k = passtMuster(o, teile))
            for (size_t i = *k; i < n; ++i)
                if (Namen::enthaelt(Namen::cacheNamen, teile[i])) return Urteil::erlaubt();
    for (std::string_view ordner : Namen::linuxVersionsOrdner)
        if (const auto k = passtMuster(ordner, teile); k && *k + 1 == n) {
            struct stat st {};
            if (::lstat(pfad.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) break;  // a version is a folder
            const auto neueste = neuesterOrdner(pfad.substr(0, pfad.rfind('/')));
            if (neueste && *neueste != teile.back()) return Urteil::erlaubt();
            return Urteil::abgelehnt(Ablehnung::neuesteVersion);
        }
    // build folders known by what they hold, whatever they are called
    if (teile.back() == Namen::pythonCacheOrdner && Erkennen::istPythonCache(pfad)) return Urteil::erlaubt();
    if (Erkennen::istCMakeBauordner(pfad)) return Urteil::erlaubt();
    return std::nullopt;
}

bool SafetyGuard::istKernAbbildOrt(const std::vector<std::string>& teile) {
    const size_t n = teile.size();
    if (n == 0 || !Namen::istKernAbbildName(teile.back())) return false;
    if (n == 1) return true;  // where a program started from the home folder left it
    if (n - 1 > static_cast<size_t>(Namen::kernAbbildTiefe) ||
        std::none_of(Namen::codeOrdnerLinux.begin(), Namen::codeOrdnerLinux.end(),
                     [&](std::string_view c) { return gleichOhneFall(teile[0], c); }))
        return false;
    return std::none_of(teile.begin() + 1, teile.end() - 1,
                        [](const std::string& t) { return t.starts_with('.') || t == "node_modules"; });
}

Urteil SafetyGuard::pruefeProgramm(const std::string& pfad, Entsorgung art) const {
    const std::string versionen = programme_ + std::string(chromeVersionen);
    if (liegtIn(pfad, versionen)) {
        const std::string r = pfad.substr(versionen.size() + 1);
        if (r.find('/') == std::string::npos) {
            if (art == Entsorgung::papierkorb) return Urteil::abgelehnt(Ablehnung::wirdGeloescht);
            std::string ziel(4096, '\0');
            const ssize_t laenge = ::readlink((versionen + "/Current").c_str(), ziel.data(), ziel.size());
            ziel.resize(laenge > 0 ? static_cast<size_t>(laenge) : 0);
            if (r == "Current" || r == ziel || ziel.empty()) return Urteil::abgelehnt(Ablehnung::laufendeChromeVersion);
            return Urteil::erlaubt();
        }
    }
    if (!pfad.ends_with(".app")) return Urteil::abgelehnt(Ablehnung::nurGanzeProgramme);
    if (art != Entsorgung::papierkorb) return Urteil::abgelehnt(Ablehnung::programmeInPapierkorb);
    const std::string eltern = pfad.substr(0, pfad.rfind('/'));
    // ".app" anywhere on the way inside the Applications folder makes it part of another program
    // (Contents/Helpers/…, "Foo.appx/Bar.app"); the folder's own location does not count, so a
    // home named "john.appleseed" keeps its ~/Applications.
    std::string_view innen = eltern;
    for (const std::string& basis : {programme_, home_ + "/Applications"})
        if (liegtInOderIst(eltern, basis)) {
            innen.remove_prefix(basis.size());
            break;
        }
    if (innen.find(".app") != std::string_view::npos) return Urteil::abgelehnt(Ablehnung::inAnderemProgramm);

    std::string kennung;
    if (auto liste = Eigenschaftsliste::ausDatei(pfad + "/Contents/Info.plist"))
        kennung = liste->wurzel().feld("CFBundleIdentifier").text().value_or("");
    if (kennung.starts_with("com.apple.")) return Urteil::abgelehnt(Ablehnung::appleProgramm);
    if (!eigeneKennung_.empty() && !kennung.empty() && kennung == eigeneKennung_)
        return Urteil::abgelehnt(Ablehnung::selbst);
    return Urteil::erlaubt();
}

bool SafetyGuard::istVersionsOrdner(std::string_view name) {
    if (!name.starts_with("app-")) return false;
    name.remove_prefix(4);
    size_t gruppen = 0;
    while (true) {
        size_t ziffern = 0;
        while (ziffern < name.size() && name[ziffern] >= '0' && name[ziffern] <= '9') ++ziffern;
        if (ziffern == 0) return false;
        ++gruppen;
        name.remove_prefix(ziffern);
        if (name.empty()) return gruppen >= 2;
        if (name.front() != '.') return false;
        name.remove_prefix(1);
    }
}

std::optional<std::string> SafetyGuard::neuesteAppVersion(const fs::path& ordner) {
    std::optional<std::string> neueste;
    listeOrdner(ordner, [&](std::string_view e) {
        if (!istVersionsOrdner(e)) return true;
        // equal versions in other spellings ("1.02", "1.2"): the smaller name wins, whatever the listing order
        const int c = neueste ? vergleicheVersion(e.substr(4), std::string_view(*neueste).substr(4)) : 1;
        if (c > 0 || (c == 0 && e < *neueste)) neueste = std::string(e);
        return true;
    });
    return neueste;
}

std::optional<std::string> SafetyGuard::neuesterOrdner(const fs::path& ordner) {
    std::optional<std::string> neuester;
    time_t neuesteZeit = 0;
    listeOrdner(ordner, [&](std::string_view e) {
        struct stat st {};
        if (::lstat((ordner / e).c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) return true;
        // whole seconds (the one spelling macOS shares); equal times: the name decides, whatever the listing order
        if (!neuester || st.st_mtime > neuesteZeit || (st.st_mtime == neuesteZeit && e > *neuester)) {
            neuester = std::string(e);
            neuesteZeit = st.st_mtime;
        }
        return true;
    });
    return neuester;
}

std::optional<std::string> SafetyGuard::nameAufPlatte(std::string_view name, const fs::path& ordner) {
    std::optional<std::string> ohneFall;
    bool genau = false;
    listeOrdner(ordner, [&](std::string_view e) {
        if (e == name) {
            genau = true;
            return false;
        }
        if (!ohneFall && gleichOhneFall(e, name)) ohneFall = std::string(e);
        return true;
    });
    if (genau) return std::string(name);
    return ohneFall;
}

}  // namespace hainbrem
