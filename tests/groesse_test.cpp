#include "kern/groesse.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <nlohmann/json.hpp>

#include "testordner.hpp"

namespace hainbrem {
namespace {

using test::Testordner;
namespace fs = std::filesystem;

int64_t duBytes(const fs::path& p, const std::string& alsBenutzer = "") {
    const std::string aus = test::laufe(alsBenutzer + "du -sxB1 '" + p.string() + "' 2>/dev/null");
    return std::stoll(aus);
}

int64_t hainbremBytes(const fs::path& p, const std::string& alsBenutzer = "", int* status = nullptr) {
    const std::string aus = test::laufe(alsBenutzer + HAINBREM_BINARY " --json groesse '" + p.string() + "'", status);
    return nlohmann::json::parse(aus).at(0).at("bytes").get<int64_t>();
}

// A chain of folders whose full path is far longer than PATH_MAX, built with *at calls.
void tieferOrdner(const fs::path& basis, int ebenen, const std::string& name) {
    fs::create_directories(basis);
    int fd = ::open(basis.c_str(), O_RDONLY | O_DIRECTORY);
    for (int i = 0; i < ebenen && fd >= 0; ++i) {
        ::mkdirat(fd, name.c_str(), 0755);
        const int neu = ::openat(fd, name.c_str(), O_RDONLY | O_DIRECTORY);
        const int d = ::openat(neu, "datei", O_WRONLY | O_CREAT, 0644);
        if (d >= 0) {
            if (::write(d, "abcdefgh", 8) != 8) ADD_FAILURE();
            ::close(d);
        }
        ::close(fd);
        fd = neu;
    }
    if (fd >= 0) ::close(fd);
}

struct Baufall {
    const char* name;
    void (*baue)(const Testordner&);
};

const Baufall baufaelle[] = {
    {"leerer Ordner", [](const Testordner& t) { t.ordner("w"); }},
    {"Dateien verschiedener Größe",
     [](const Testordner& t) {
         for (size_t i = 0; i < 40; ++i) t.datei("w/a/f" + std::to_string(i), i * 997);
         t.datei("w/b/c/gross", 3'000'000);
     }},
    {"Ordner zählen eigene Blöcke (viele Einträge)",
     [](const Testordner& t) {
         for (int i = 0; i < 3000; ++i) t.datei("w/breit/eine-datei-mit-langem-namen-" + std::to_string(i));
     }},
    {"harte Links zählen einmal",
     [](const Testordner& t) {
         t.datei("w/original", 200'000);
         fs::create_hard_link(t / "w/original", t / "w/zweiter");
         fs::create_directories(t / "w/unter");
         fs::create_hard_link(t / "w/original", t / "w/unter/dritter");
         t.datei("draussen", 300'000);
         fs::create_hard_link(t / "draussen", t / "w/nach-draussen");
     }},
    {"Link auf großen Ordner zählt nur sich",
     [](const Testordner& t) {
         t.datei("gross/block", 5'000'000);
         t.ordner("w");
         fs::create_directory_symlink(t / "gross", t / "w/verweis");
         fs::create_symlink("/gibt/es/nicht", t / "w/tot");
         fs::create_symlink("w", t / "w/schleife");
     }},
    {"dünne Datei zählt belegte Blöcke",
     [](const Testordner& t) {
         t.ordner("w");
         const int fd = ::open((t / "w/duenn").c_str(), O_WRONLY | O_CREAT, 0644);
         if (::ftruncate(fd, 1LL << 32) != 0) ADD_FAILURE();
         if (::pwrite(fd, "x", 1, 1 << 20) != 1) ADD_FAILURE();
         ::close(fd);
     }},
    {"tiefer als PATH_MAX",
     [](const Testordner& t) { tieferOrdner(t / "w", 400, "ein-ordnername-der-lang-genug-ist"); }},
    {"Sonderdateien", [](const Testordner& t) {
         t.ordner("w");
         ::mkfifo((t / "w/rohr").c_str(), 0644);
     }},
};

TEST(Groesse, GleichDu) {
    for (const auto& f : baufaelle) {
        Testordner t;
        f.baue(t);
        const int64_t du = duBytes(t / "w");
        EXPECT_EQ(Groesse::belegt(t / "w", 1), du) << f.name << " (ein Faden)";
        EXPECT_EQ(Groesse::belegt(t / "w", 2), du) << f.name << " (zwei Fäden)";
        EXPECT_EQ(Groesse::belegt(t.pfad().string() + "/w/", 2), du) << f.name << " (Schrägstrich am Ende)";
        EXPECT_EQ(hainbremBytes(t / "w"), du) << f.name << " (Befehl)";
    }
}

TEST(Groesse, EinzelneDateiLinkUndFehlendes) {
    Testordner t;
    t.datei("f", 10'000);
    fs::create_symlink(t / "f", t / "l");
    EXPECT_EQ(Groesse::belegt(t / "f"), duBytes(t / "f"));
    EXPECT_EQ(Groesse::belegt(t / "l"), duBytes(t / "l"));
    EXPECT_EQ(Groesse::belegt(t / "fehlt"), 0);
    int status = 0;
    test::laufe(HAINBREM_BINARY " groesse '" + (t / "fehlt").string() + "' 2>/dev/null", &status);
    EXPECT_EQ(status, 1);
}

TEST(Groesse, UnlesbarerOrdnerWieDu) {
    if (!test::kannAlsNobodyLaufen()) GTEST_SKIP() << "braucht root und setpriv, um als nobody zu messen";
    Testordner t;
    t.datei("w/lesbar/a", 50'000);
    t.datei("w/zu/geheim", 80'000);
    t.datei("w/zu/tiefer/noch", 80'000);
    ::chmod((t / "w/zu").c_str(), 0700);
    const std::string nobody = "setpriv --reuid=nobody --regid=nogroup --clear-groups ";
    const int64_t du = duBytes(t / "w", nobody);
    int status = 0;
    EXPECT_EQ(hainbremBytes(t / "w", nobody, &status), du);
    EXPECT_EQ(status, 1) << "eine Untergrenze wird als Fehler gemeldet";
    EXPECT_LT(du, Groesse::belegt(t / "w")) << "root liest alles";
    const std::string meldung =
        test::laufe(nobody + HAINBREM_BINARY " groesse '" + (t / "w").string() + "' 2>&1 >/dev/null");
    EXPECT_NE(meldung.find("nicht lesbar"), std::string::npos) << meldung;
}

TEST(Groesse, FremdesDateisystemWirdNichtBetreten) {
    Testordner t;
    t.datei("w/hier", 40'000);
    t.ordner("w/eingehaengt");
    if (::mount("tmpfs", (t / "w/eingehaengt").c_str(), "tmpfs", 0, "size=16m") != 0)
        GTEST_SKIP() << "tmpfs lässt sich hier nicht einhängen (braucht root mit CAP_SYS_ADMIN)";
    t.datei("w/eingehaengt/dort", 4'000'000);
    const int64_t du = duBytes(t / "w");
    const int64_t wir = Groesse::belegt(t / "w");
    int64_t besucht = 0;
    Groesse::durchlaufe(t / "w", [&](const Groesse::Eintrag& e) {
        if (std::string(e.pfad).find("eingehaengt") != std::string::npos) ++besucht;
        return Groesse::Weiter::ja;
    });
    ::umount((t / "w/eingehaengt").c_str());
    EXPECT_EQ(wir, du);
    EXPECT_LT(wir, 4'000'000);
    EXPECT_EQ(besucht, 0);
}

// Walk order and the visitor's answers, as a compact trace.
std::vector<std::string> spur(const fs::path& wurzel, const std::function<Groesse::Weiter(const Groesse::Eintrag&)>& antwort) {
    std::vector<std::string> s;
    const std::string basis = wurzel.string();
    Groesse::durchlaufe(wurzel, [&](const Groesse::Eintrag& e) {
        static constexpr const char* art[] = {"D", "A", "E", "U"};
        std::string rel = std::string(e.pfad).substr(basis.size());
        s.push_back(std::string(art[static_cast<int>(e.art)]) + std::to_string(e.ebene) + ":" + (rel.empty() ? "." : rel));
        return antwort(e);
    });
    return s;
}

TEST(Groesse, DurchlaufReihenfolgeUndAntworten) {
    Testordner t;
    t.datei("w/a/x");
    t.datei("w/b/y");
    auto sortiert = [](std::vector<std::string> v) {
        std::sort(v.begin(), v.end());
        return v;
    };
    const auto ja = spur(t / "w", [](const auto&) { return Groesse::Weiter::ja; });
    EXPECT_EQ(sortiert(ja), sortiert({"A0:.", "A1:/a", "D2:/a/x", "E1:/a", "A1:/b", "D2:/b/y", "E1:/b", "E0:."}));
    EXPECT_EQ(ja.front(), "A0:.");
    EXPECT_EQ(ja.back(), "E0:.");
    for (const char* o : {"/a", "/b"}) {  // contents between a folder's start and end
        const auto anfang = std::find(ja.begin(), ja.end(), std::string("A1:") + o);
        const auto ende = std::find(ja.begin(), ja.end(), std::string("E1:") + o);
        ASSERT_LT(anfang, ende);
        EXPECT_EQ(ende - anfang, 2);
    }

    const auto ohneA = spur(t / "w", [](const Groesse::Eintrag& e) {
        return std::string(e.pfad).ends_with("/a") ? Groesse::Weiter::ueberspringen : Groesse::Weiter::ja;
    });
    EXPECT_EQ(std::count(ohneA.begin(), ohneA.end(), "D2:/a/x"), 0);
    EXPECT_EQ(std::count(ohneA.begin(), ohneA.end(), "E1:/a"), 1) << "übersprungen endet trotzdem";

    int nach = 0;
    bool gestoppt = false;
    spur(t / "w", [&](const Groesse::Eintrag& e) {
        if (gestoppt) ++nach;
        if (e.art == Groesse::EintragArt::datei) {
            gestoppt = true;
            return Groesse::Weiter::abbrechen;
        }
        return Groesse::Weiter::ja;
    });
    EXPECT_TRUE(gestoppt);
    EXPECT_EQ(nach, 0);

    EXPECT_EQ(spur(t / "fehlt", [](const auto&) { return Groesse::Weiter::ja; }), (std::vector<std::string>{"U0:."}));
}

TEST(Groesse, TieferBaumWirdVollstaendigBesucht) {
    // Deeper than the walker keeps descriptors open: closed ancestors are reopened via "..".
    Testordner t;
    tieferOrdner(t / "w", 300, "abcdefghijklmnopqrstuvwxyz");
    int64_t dateien = 0, anfaenge = 0, enden = 0, unlesbar = 0;
    size_t laengster = 0;
    Groesse::durchlaufe(t / "w", [&](const Groesse::Eintrag& e) {
        switch (e.art) {
            case Groesse::EintragArt::datei: ++dateien; break;
            case Groesse::EintragArt::ordnerAnfang: ++anfaenge; break;
            case Groesse::EintragArt::ordnerEnde: ++enden; break;
            case Groesse::EintragArt::unlesbar: ++unlesbar; break;
        }
        laengster = std::max(laengster, std::strlen(e.pfad));
        return Groesse::Weiter::ja;
    });
    EXPECT_EQ(dateien, 300);
    EXPECT_EQ(anfaenge, 301);
    EXPECT_EQ(enden, 301);
    EXPECT_EQ(unlesbar, 0);
    EXPECT_GT(laengster, static_cast<size_t>(PATH_MAX));
}

}  // namespace
}  // namespace hainbrem
