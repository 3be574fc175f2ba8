#include "kern/duplikate.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <openssl/sha.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/core.h>

#include <array>
#include <fstream>
#include <random>

#include "testordner.hpp"

namespace hainbrem {
namespace {

using test::Testordner;
using namespace std::chrono_literals;

std::string zufall(size_t n, unsigned saat) {
    std::mt19937 z(saat);
    std::string s(n, '\0');
    for (auto& c : s) c = static_cast<char>(z());
    return s;
}

fs::path schreibe(const fs::path& p, const std::string& inhalt) {
    fs::create_directories(p.parent_path());
    std::ofstream(p, std::ios::binary) << inhalt;
    return p;
}

DateiInfo infoVon(const fs::path& p) {
    struct stat st {};
    ::lstat(p.c_str(), &st);
    return DateiInfo{p.native(), st.st_size, st.st_blocks * 512, Zeitpunkt(std::chrono::seconds(st.st_mtim.tv_sec)),
                     Zeitpunkt(std::chrono::seconds(st.st_atim.tv_sec)), st.st_ino, false};
}

std::string sha256(const std::string& s) {
    unsigned char d[SHA256_DIGEST_LENGTH];
    SHA256(reinterpret_cast<const unsigned char*>(s.data()), s.size(), d);
    std::string hex;
    for (unsigned char c : d) hex += fmt::format("{:02x}", c);
    return hex;
}

std::vector<std::string> pfade(const DuplikatGruppe& g) {
    std::vector<std::string> p;
    for (const auto& d : g.dateien) p.push_back(d.pfad);
    return p;
}

TEST(Duplikate, WertNachOrtAlterUndTiefe) {
    const auto jetzt = std::chrono::system_clock::now();
    struct Fall {
        const char* pfad;
        double jahreAlt;
        double wert;
    };
    const Fall faelle[] = {
        {"/Users/anna/Downloads/a.mov", 0, -32},
        {"/Users/anna/Filme/a.mov", 0, -2},
        {"/Users/anna/Filme/a Kopie.mov", 0, -17},
        {"/Users/anna/Desktop/b copy.txt", 0, -37},
        {"/Users/anna/.Trash/a (1).mov", 0, -117},
        {"/tmp/x", 0, -51},
        {"/Users/anna/Filme/alt.mov", 2, 2},
        {"/Users/anna/Filme/uralt.mov", 30, 8},  // the bonus stops at 10
        {"/Users/anna/Filme/zukunft.mov", -1, -4},
    };
    for (const auto& f : faelle) {
        DateiInfo d;
        d.pfad = f.pfad;
        d.geaendert = jetzt - std::chrono::seconds(static_cast<int64_t>(f.jahreAlt * 365 * 86'400));
        EXPECT_NEAR(Duplikate::wert(d, jetzt), f.wert, 1e-6) << f.pfad;
    }
}

TEST(Duplikate, RandHashKopfUndSchwanz) {
    Testordner t;
    // size, head and tail hashed: up to 32 KiB only the head counts
    for (const auto& [n, kopf, schwanz] : {std::array<size_t, 3>{10'000, 10'000, 0}, {20'000, 16'384, 0},
                                           {32'768, 16'384, 0}, {40'000, 16'384, 16'384}}) {
        const std::string s = zufall(n, static_cast<unsigned>(n));
        const fs::path p = schreibe(t / std::to_string(n), s);
        EXPECT_EQ(Duplikate::randHash(p), sha256(s.substr(0, kopf) + s.substr(n - schwanz))) << n;
        EXPECT_EQ(Duplikate::inhaltHash(p), sha256(s)) << n;
    }
    // holes read as zeros, also a hole at the end
    std::string duenn(3'500'000, '\0');
    const std::string daten = zufall(70'000, 5);
    duenn.replace(1'500'000, daten.size(), daten);
    const int fd = ::open((t / "duenn").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    ASSERT_EQ(::pwrite(fd, daten.data(), daten.size(), 1'500'000), static_cast<ssize_t>(daten.size()));
    ASSERT_EQ(::ftruncate(fd, 3'500'000), 0);
    ::close(fd);
    EXPECT_EQ(Duplikate::inhaltHash(t / "duenn"), sha256(duenn));
    EXPECT_EQ(Duplikate::randHash(t / "fehlt"), std::nullopt);
    EXPECT_EQ(Duplikate::inhaltHash(t / "fehlt"), std::nullopt);
}

TEST(Duplikate, GruppenUndBehalten) {
    Testordner t;
    const fs::path h = t.pfad() / "anna";
    const std::string inhalt = zufall(1'200'000, 7);
    const auto original = schreibe(h / "Filme/a.mov", inhalt);
    const auto download = schreibe(h / "Downloads/a.mov", inhalt);
    const auto kopie = schreibe(h / "Filme/a Kopie.mov", inhalt);
    fs::create_hard_link(original, h / "Filme/a-link.mov");  // the same file: never its own duplicate
    // same size, head and tail, but a different middle
    std::string mitte = zufall(2'000'000, 8);
    const auto m1 = schreibe(h / "m1", mitte);
    mitte[1'000'000] = static_cast<char>(mitte[1'000'000] ^ 1);
    const auto m2 = schreibe(h / "m2", mitte);
    // only hard links
    const auto l1 = schreibe(h / "l1", zufall(1'500'000, 9));
    fs::create_hard_link(l1, h / "l2");
    // a second, smaller group
    const std::string zwei = zufall(1'100'000, 10);
    schreibe(h / "z/1", zwei);
    schreibe(h / "z/2", zwei);
    const auto verschwunden = schreibe(h / "z/3", zwei);

    std::vector<DateiInfo> liste;
    for (const auto& p : {download, kopie, original, h / "Filme/a-link.mov", m1, m2, l1, h / "l2", h / "z/1",
                          h / "z/2", verschwunden})
        liste.push_back(infoVon(p));
    fs::remove(verschwunden);  // unreadable by now: falls out
    for (auto& d : liste) d.geaendert = std::chrono::system_clock::now();

    Steuerung steuerung;
    const auto gruppen = Duplikate::finde(liste, &steuerung);
    ASSERT_EQ(gruppen.size(), 2u);
    const auto& a = gruppen[0];  // more to gain first
    EXPECT_EQ(a.id, sha256(inhalt));
    EXPECT_EQ(pfade(a), (std::vector<std::string>{original.native(), kopie.native(), download.native()}));
    EXPECT_EQ(a.behalten, original.native());
    EXPECT_EQ(a.verschwendet(), 2 * a.dateien.front().belegt);
    // no shared blocks here: everything but the keeper comes free
    EXPECT_EQ(a.wirklichFrei, infoVon(kopie).belegt + infoVon(download).belegt);
    EXPECT_FALSE(a.sindKlone());
    EXPECT_EQ(gruppen[1].dateien.size(), 2u);
    EXPECT_EQ(gruppen[1].id, sha256(zwei));
    // progress per size group (a.mov, m, z, the links collapse to one)
    EXPECT_EQ(steuerung.gesamt.load(), 3);
    EXPECT_DOUBLE_EQ(steuerung.anteil(), 1.0);
}

TEST(Duplikate, LeerUndAbgebrochen) {
    EXPECT_TRUE(Duplikate::finde({}).empty());

    Testordner t;
    const std::string inhalt = zufall(1'000'000, 11);
    std::vector<DateiInfo> liste{infoVon(schreibe(t / "a", inhalt)), infoVon(schreibe(t / "b", inhalt))};
    std::stop_source stopp;
    stopp.request_stop();
    Steuerung steuerung(stopp.get_token());
    EXPECT_TRUE(Duplikate::finde(liste, &steuerung).empty());
    EXPECT_EQ(steuerung.erledigt.load(), 0);
    EXPECT_EQ(Duplikate::finde(liste).size(), 1u);
}

TEST(DuplikatGruppe, KloneUndLeereGruppe) {
    DuplikatGruppe g;
    EXPECT_EQ(g.verschwendet(), 0);
    EXPECT_FALSE(g.sindKlone());
    g.wirklichFrei = -1;
    EXPECT_TRUE(g.sindKlone());
    DateiInfo d;
    d.groesse = 1'000'009;
    d.belegt = 1'003'520;
    g.dateien = {d, d, d};
    g.wirklichFrei = 100'000;  // a tenth of 1,000,009, truncated: not below it
    EXPECT_FALSE(g.sindKlone());
    g.wirklichFrei = 99'999;
    EXPECT_TRUE(g.sindKlone());
    EXPECT_EQ(g.verschwendet(), 2 * 1'003'520);
}

TEST(Duplikate, AufraeumenLegtKopienInDenPapierkorb) {
    Testordner t;
    const fs::path h = t.pfad() / "home";
    const std::string inhalt = zufall(1'300'000, 13);
    const auto behalten = schreibe(h / "Filme/a.mov", inhalt);
    const auto kopie = schreibe(h / "Downloads/a.mov", inhalt);
    const std::string basis = "HOME='" + h.native() + "' TMPDIR='" + t.pfad().native() + "' " + HAINBREM_BINARY;
    int status = 0;
    // without a terminal and without --ja nothing is touched
    test::laufe(basis + " duplikate --aufraeumen < /dev/null 2>&1", &status);
    EXPECT_NE(status, 0);
    EXPECT_TRUE(fs::exists(kopie));
    const std::string aus = test::laufe(basis + " duplikate --aufraeumen --ja 2>&1", &status);
    EXPECT_EQ(status, 0) << aus;
    EXPECT_TRUE(fs::exists(behalten));
    EXPECT_FALSE(fs::exists(kopie)) << aus;
    EXPECT_TRUE(fs::exists(h / ".local/share/Trash/files/a.mov")) << aus;
    EXPECT_NE(aus.find("Rückgängig: hainbrem rueckgaengig"), std::string::npos) << aus;
}

// Copies that share their blocks (reflinks on btrfs) are found, but promise little.
TEST(Duplikate, ReflinkKopienSindKlone) {
    if (::geteuid() != 0) GTEST_SKIP() << "Einhängen eines Abbilds braucht root";
    Testordner t;
    const fs::path abbild = t / "abbild.img";
    const fs::path punkt = t.ordner("punkt");
    int status = 0;
    test::laufe("truncate -s 128M '" + abbild.native() + "' && mkfs.btrfs -q '" + abbild.native() + "' 2>&1", &status);
    if (status != 0) GTEST_SKIP() << "mkfs.btrfs nicht verfügbar";
    test::laufe("mount -o loop '" + abbild.native() + "' '" + punkt.native() + "' 2>&1", &status);
    if (status != 0) GTEST_SKIP() << "Loop-Einhängen ist hier nicht möglich";
    struct Aushaengen {
        fs::path p;
        ~Aushaengen() { test::laufe("umount '" + p.native() + "'"); }
    } aushaengen{punkt};

    const std::string inhalt = zufall(2'000'000, 12);
    const auto a = schreibe(punkt / "h/Filme/a.mov", inhalt);
    ::sync();
    test::laufe("cp --reflink=always '" + a.native() + "' '" + (punkt / "h/Filme/b.mov").native() + "'", &status);
    ASSERT_EQ(status, 0);
    const auto echt = schreibe(punkt / "h/Filme/c.mov", inhalt);  // a real copy
    test::altere(a, 800);                                          // the keeper

    const auto scan = Tiefenscan::scanneOrdner(punkt / "h", (punkt / "h").native());
    ASSERT_EQ(scan.kandidaten.size(), 3u);
    std::vector<DateiInfo> nurKlone;
    for (const auto& d : scan.kandidaten)
        if (d.pfad != echt.native()) nurKlone.push_back(d);
    const auto klone = Duplikate::finde(nurKlone);
    ASSERT_EQ(klone.size(), 1u);
    EXPECT_TRUE(klone[0].sindKlone());
    EXPECT_LT(klone[0].wirklichFrei, klone[0].dateien.front().groesse / 10);
    EXPECT_EQ(klone[0].verschwendet(), klone[0].dateien.front().belegt);  // still the naive figure

    const auto alle = Duplikate::finde(scan.kandidaten);
    ASSERT_EQ(alle.size(), 1u);
    EXPECT_EQ(alle[0].dateien.size(), 3u);
    EXPECT_FALSE(alle[0].sindKlone());  // the real copy frees its blocks
    EXPECT_GE(alle[0].wirklichFrei, infoVon(echt).belegt);
}

}  // namespace
}  // namespace hainbrem

#include <unistd.h>

#include <thread>

namespace hainbrem {
namespace {

// A file cut short while it is hashed must not hash like "what was read, then zeros":
// that is exactly the digest of a different file whose tail really is zeros.
TEST(Duplikate, WaehrendDesLesensGekuerztIstKeinDuplikat) {
    test::Testordner t;
    constexpr size_t mb = 1 << 20, laenge = 24 * mb;
    {
        std::ofstream b(t / "b", std::ios::binary);
        b << std::string(mb, 'x') << std::string(laenge - mb, '\0');
    }
    const auto hashB = Duplikate::inhaltHash(t / "b");
    ASSERT_TRUE(hashB);
    for (int versuch = 0; versuch < 40; ++versuch) {
        {
            std::ofstream a(t / "a", std::ios::binary | std::ios::trunc);
            a << std::string(laenge, 'x');
        }
        std::optional<std::string> hashA;
        std::thread leser([&] { hashA = Duplikate::inhaltHash(t / "a"); });
        std::this_thread::sleep_for(std::chrono::microseconds(200 * versuch));
        ASSERT_EQ(::truncate((t / "a").c_str(), static_cast<off_t>(mb)), 0);
        leser.join();
        ASSERT_NE(hashA, hashB) << "Versuch " << versuch;
    }
}

}  // namespace
}  // namespace hainbrem
