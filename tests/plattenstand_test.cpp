#include "kern/plattenstand.hpp"

#include <gtest/gtest.h>
#include <plist/plist.h>

#include <sys/stat.h>

#include <fstream>
#include <sstream>

#include "testordner.hpp"

namespace hainbrem {
namespace {

std::string lies(const std::string& name) {
    std::ifstream ein(std::string(HAINBREM_FIXTURES) + "/platte/" + name, std::ios::binary);
    std::stringstream s;
    s << ein.rdbuf();
    return s.str();
}

std::string alsBinaer(const std::string& xml) {
    plist_t p = nullptr;
    plist_from_xml(xml.data(), static_cast<uint32_t>(xml.size()), &p);
    char* bin = nullptr;
    uint32_t laenge = 0;
    plist_to_bin(p, &bin, &laenge);
    std::string ergebnis(bin, laenge);
    free(bin);
    plist_free(p);
    return ergebnis;
}

constexpr int64_t GB = 1'000'000'000;

TEST(Plattenstand, Lage) {
    struct Fall {
        int64_t frei, grenze;
        Plattenstand::Lage erwartet;
    } faelle[] = {
        {1'999'999'999, 1 * GB, Plattenstand::Lage::kritisch},
        {2 * GB, 10 * GB, Plattenstand::Lage::knapp},
        {10 * GB, 10 * GB, Plattenstand::Lage::gut},
        {1'500'000'000, 0, Plattenstand::Lage::kritisch},  // a low user threshold never hides a critical disk
        {0, 0, Plattenstand::Lage::kritisch},
    };
    for (const auto& f : faelle) {
        Plattenstand s{100 * GB, f.frei, f.frei + 5 * GB};
        EXPECT_EQ(s.lage(f.grenze), f.erwartet) << f.frei << " / " << f.grenze;
    }
}

TEST(Plattenstand, AbgeleiteteWerte) {
    Plattenstand s{100 * GB, 30 * GB, 42 * GB};
    EXPECT_EQ(s.belegt(), 70 * GB);
    EXPECT_EQ(s.loeschbar(), 12 * GB);
    EXPECT_DOUBLE_EQ(s.anteilFrei(), 0.3);
    EXPECT_EQ((Plattenstand{0, 0, 0}).anteilFrei(), 0.0);
    EXPECT_EQ((Plattenstand{10, 5, 3}).loeschbar(), 0);
}

TEST(Plattenstand, JetztLiestDasVolumeDesOrdners) {
    test::Testordner t;
    const Plattenstand s = Plattenstand::jetzt(t.pfad());
    EXPECT_GT(s.gesamt, 0);
    EXPECT_GE(s.echtFrei, 0);
    EXPECT_LE(s.echtFrei, s.gesamt);
    EXPECT_EQ(s.mitLoeschbarem, s.echtFrei) << "Linux kennt keinen löschbaren Platz";
    const Plattenstand fehlt = Plattenstand::jetzt(t / "gibt-es-nicht");
    EXPECT_EQ(fehlt, (Plattenstand{0, 0, 0}));
    EXPECT_EQ(fehlt.lage(0), Plattenstand::Lage::kritisch);
}

TEST(Platte, DiskutilXmlUndBinaerGebenDieselbePlatte) {
    const std::string info = lies("diskutil-info-apfs.plist");
    const std::string liste = lies("diskutil-apfs-list.plist");
    for (const bool binaer : {false, true}) {
        const auto p = binaer ? Platte::ausDiskutil(alsBinaer(info), alsBinaer(liste)) : Platte::ausDiskutil(info, liste);
        ASSERT_TRUE(p.has_value()) << "binaer=" << binaer;
        EXPECT_EQ(p->gesamt, 245107195904);
        EXPECT_EQ(p->frei, 61234567168);
        EXPECT_EQ(p->belegt(), 245107195904 - 61234567168);
        std::vector<std::string> reihenfolge;
        for (const auto& v : p->volumes) reihenfolge.push_back(v.geraet);
        // largest first; Recovery and Update are equal and keep the tool's order
        EXPECT_EQ(reihenfolge, (std::vector<std::string>{"disk3s5", "disk3s1", "disk3s2", "disk3s6", "disk3s3",
                                                         "disk3s4", "disk3s7"}));
        ASSERT_NE(p->volume("Update"), nullptr);
        EXPECT_EQ(p->volume("Update")->titel(), "Update-Vorrat");
        EXPECT_EQ(p->volume("Data")->titel(), "Deine Daten");
        EXPECT_EQ(p->volume("System")->erklaerung(),
                  "Das versiegelte, schreibgeschützte macOS. Niemand kann es verkleinern, auch Hainbrem nicht. Ein "
                  "Update ersetzt es als Ganzes.");
        EXPECT_EQ(p->volume("system"), nullptr) << "Rollen werden genau verglichen";
        const Platte::Volume& ohneRolle = p->volumes.back();
        EXPECT_EQ(ohneRolle.rolle, "");
        EXPECT_EQ(ohneRolle.titel(), "Backup");
        EXPECT_EQ(ohneRolle.erklaerung(), "Ein Volume des Systems.");
    }
}

TEST(Platte, DiskutilFehlerUndLuecken) {
    const std::string info = lies("diskutil-info-apfs.plist");
    const std::string liste = lies("diskutil-apfs-list.plist");
    EXPECT_FALSE(Platte::ausDiskutil(lies("diskutil-info-hfs.plist"), liste)) << "kein APFS-Startvolume";
    EXPECT_FALSE(Platte::ausDiskutil("", liste));
    EXPECT_FALSE(Platte::ausDiskutil("kein plist", liste));
    EXPECT_FALSE(Platte::ausDiskutil(info, ""));
    EXPECT_FALSE(Platte::ausDiskutil(info, "<plist><array/></plist>"));
    const std::string anderer = std::string(info).replace(info.find("disk3</string>"), 5, "disk9");
    EXPECT_FALSE(Platte::ausDiskutil(anderer, liste)) << "kein Container mit dieser Referenz";

    const auto p = Platte::ausDiskutil(info, lies("diskutil-apfs-list-luecken.plist"));
    ASSERT_TRUE(p);
    EXPECT_EQ(p->gesamt, 1000);
    EXPECT_EQ(p->frei, 0);
    ASSERT_EQ(p->volumes.size(), 1u);
    EXPECT_EQ(p->volumes[0], (Platte::Volume{"?", "", 0, "disk3s9"})) << "Roles ist keine Liste";
}

TEST(Platte, LsblkRollenNachEinhaengepunkt) {
    const auto p = Platte::ausLsblk(lies("lsblk-getrennt.json"), "/home/anna");
    ASSERT_TRUE(p);
    EXPECT_EQ(p->gesamt, 512110190592);
    EXPECT_EQ(p->frei, 530579456 + 700000000 + 43000000000LL + 90000000000LL);
    ASSERT_EQ(p->volumes.size(), 5u) << "die externe Platte und Loop-Geräte gehören nicht dazu";
    EXPECT_EQ(p->volumes[0].geraet, "nvme0n1p5");
    EXPECT_EQ(p->volumes[0].rolle, "Data");
    EXPECT_EQ(p->volume("System")->geraet, "nvme0n1p3");
    EXPECT_EQ(p->volume("VM")->bytes, 8589934592);
    EXPECT_EQ(p->volume("Preboot")->geraet, "nvme0n1p2");
    EXPECT_EQ(p->volume("Data")->name, "daten");
    // a Linux disk in Linux words: no macOS, no snapshots, no cryptexes
    for (const auto& [rolle, titel] : {std::pair{"System", "System"}, std::pair{"Data", "Deine Daten"},
                                       std::pair{"VM", "Auslagerung (Swap)"}, std::pair{"Preboot", "Systemstart"}}) {
        const Platte::Volume* v = p->volume(rolle);
        ASSERT_NE(v, nullptr) << rolle;
        EXPECT_EQ(v->titel(), titel);
        for (const char* macWort : {"macOS", "Apple", "Schnappschüsse", "Cryptexe", "8 GB RAM"})
            EXPECT_EQ(std::string(v->erklaerung()).find(macWort), std::string::npos) << rolle << ": " << macWort;
    }
    EXPECT_EQ(p->volumes.back().geraet, "nvme0n1p1");
    EXPECT_EQ(p->volumes.back().titel(), "Systemstart") << "die EFI-Partition startet das System mit";

    const auto einfach = Platte::ausLsblk(lies("lsblk-einfach.json"), "/root");
    ASSERT_TRUE(einfach);
    ASSERT_EQ(einfach->volumes.size(), 1u);
    EXPECT_EQ(einfach->volumes[0].rolle, "Data") << "home liegt auf /, also sind das deine Daten";
    EXPECT_EQ(einfach->volume("System"), nullptr);

    EXPECT_FALSE(Platte::ausLsblk("", "/home"));
    EXPECT_FALSE(Platte::ausLsblk("{\"blockdevices\": 3}", "/home"));
    EXPECT_FALSE(Platte::ausLsblk(R"({"blockdevices":[{"name":"sda","mountpoints":["/mnt"]}]})", "/home"));
}

// The overview's picture of the disk: its parts always add up to the disk, the free part where
// home is equals the watcher's "wirklich frei", and what is neither files nor free is named.
TEST(Plattenbild, TeileErgebenDiePlatteUndFreiIstWirklichFrei) {
    using Art = Plattenteil::Art;
    struct Fall {
        const char* wie;
        std::optional<Platte> platte;
        Plattenstand stand;
        std::string name;
        std::vector<std::pair<Art, std::string>> teile;  // kind and title, in order
    };
    const int64_t vdaFs = 270553174016, vdaFrei = 81723559936 - 1'000'000;  // a fresher reading: 1 MB less
    auto ohneFsGroesse = lies("lsblk-reserve.json");
    const std::string_view fsGroesse = "\"fssize\":270553174016";
    ohneFsGroesse.replace(ohneFsGroesse.find(fsGroesse), fsGroesse.size(), "\"fssize\":null");
    const std::vector<Fall> faelle{
        {"eine Platte, ein Dateisystem mit großer Reserve", Platte::ausLsblk(lies("lsblk-reserve.json"), "/home/anna"),
         {vdaFs, vdaFrei, vdaFrei}, "Festplatte",
         {{Art::volume, "System und deine Daten"}, {Art::reserviert, "Vom Dateisystem zurückgehalten"},
          {Art::verwaltung, "Verwaltung des Dateisystems"}, {Art::frei, "Frei"}}},
        {"getrennte Partitionen", Platte::ausLsblk(lies("lsblk-getrennt.json"), "/home/anna"),
         {424000000000, 90000000000, 90000000000}, "Samsung SSD 980 PRO 512GB",
         {{Art::volume, "Deine Daten"}, {Art::volume, "System"}, {Art::volume, "Auslagerung (Swap)"},
          {Art::volume, "Systemstart"}, {Art::volume, "Systemstart"}, {Art::reserviert, "Vom Dateisystem zurückgehalten"},
          {Art::verwaltung, "Verwaltung des Dateisystems"}, {Art::rest, "Außerhalb der Dateisysteme"}, {Art::frei, "Frei"},
          {Art::freiAnderswo, "Frei auf anderen Volumes"}}},
        {"älteres lsblk ohne Größe des Dateisystems", Platte::ausLsblk(ohneFsGroesse, "/home/anna"),
         {vdaFs, vdaFrei, vdaFrei}, "Festplatte",
         {{Art::volume, "System und deine Daten"}, {Art::rest, "Andere Bereiche der Platte"}, {Art::frei, "Frei"}}},
        {"Mac", Platte::ausDiskutil(lies("diskutil-info-apfs.plist"), lies("diskutil-apfs-list.plist")),
         {245107195904, 61234567168, 70 * GB}, "Macintosh HD", {}},
        {"ohne Plattenlesung", std::nullopt, {500 * GB, 20 * GB, 20 * GB}, "",
         {{Art::volume, "Belegt"}, {Art::frei, "Frei"}}},
    };
    for (const auto& f : faelle) {
        ASSERT_TRUE(f.platte || std::string(f.wie) == "ohne Plattenlesung") << f.wie;
        const Plattenbild b = plattenbild(f.stand, f.platte);
        EXPECT_EQ(b.name, f.name) << f.wie;
        EXPECT_EQ(b.gesamt, f.platte ? f.platte->gesamt : f.stand.gesamt) << f.wie;
        int64_t summe = 0;
        std::vector<std::pair<Art, std::string>> teile;
        for (const auto& t : b.teile) {
            EXPECT_GT(t.bytes, 0) << f.wie << ": " << t.titel;
            summe += t.bytes;
            teile.emplace_back(t.art, t.titel);
            if (t.art == Art::frei) {
                EXPECT_EQ(t.bytes, f.stand.echtFrei) << f.wie;
            }
            const bool linux = f.platte && f.platte->volumes.front().profil == Katalogprofil::linuxDesktop;
            for (const char* wort : {"macOS", "Mac", "APFS"}) {
                EXPECT_TRUE(!linux || t.erklaerung.find(wort) == std::string::npos) << f.wie << ": " << t.erklaerung;
            }
        }
        EXPECT_EQ(summe, b.gesamt) << f.wie;
        if (!f.teile.empty()) {
            EXPECT_EQ(teile, f.teile) << f.wie;
        }
    }

    // the fresher reading moves the home volume's files, never the reserve
    const Plattenbild vda = plattenbild({vdaFs, vdaFrei, vdaFrei}, Platte::ausLsblk(lies("lsblk-reserve.json"), "/h"));
    EXPECT_EQ(vda.teile[0].bytes, 21021720576 + 1'000'000);
    EXPECT_EQ(vda.teile[1].bytes, vdaFs - 21021720576 - 81723559936);
    EXPECT_EQ(vda.teile[1].erklaerung.find("ext4 hält diesen Platz als Reserve zurück (hier 62 % des Dateisystems), meist für root"), 0u)
        << vda.teile[1].erklaerung;
    EXPECT_EQ(vda.teile[2].bytes, 274877906944 - vdaFs);
    EXPECT_NEAR(vda.anteilFrei(), static_cast<double>(vdaFrei) / 274877906944.0, 1e-12);
}

TEST(Platte, LsblkVerschluesseltUndNichtEingehaengt) {
    // a LUKS partition holds the mounted file system; a partition of another system is not mounted
    const auto p = Platte::ausLsblk(R"({"blockdevices":[{"name":"sda","size":1000000000,"model":"Disk",
        "children":[
          {"name":"sda1","size":600000000,"fstype":"crypto_LUKS","mountpoints":[null],
           "children":[{"name":"dm-0","size":590000000,"fstype":"ext4","fssize":580000000,"fsused":100000000,
                        "fsavail":450000000,"mountpoints":["/"]}]},
          {"name":"sda2","size":300000000,"fstype":"ntfs","label":"Windows","mountpoints":[null]}]}]})",
                                    "/home/anna");
    ASSERT_TRUE(p);
    ASSERT_EQ(p->volumes.size(), 2u) << "der Container ist kein Volume";
    EXPECT_EQ(p->volumes[0].name, "Windows");
    EXPECT_EQ(p->volumes[0].bytes, 300000000);
    EXPECT_EQ(p->volumes[0].erklaerung(),
              "Ein weiteres Dateisystem auf dieser Platte, nicht eingehängt: Hainbrem sieht nicht hinein und zählt die "
              "ganze Partition.");
    EXPECT_EQ(p->volumes[1].geraet, "dm-0");
    EXPECT_EQ(p->volumes[1].reserviert, 30000000);
    EXPECT_EQ(p->volumes[1].verwaltung, 10000000);
    const Plattenbild b = plattenbild({580000000, 450000000, 450000000}, p);
    EXPECT_EQ(b.teile.back().titel, "Frei");
    EXPECT_EQ(b.teile[b.teile.size() - 2].titel, "Außerhalb der Dateisysteme");
    EXPECT_EQ(b.teile[b.teile.size() - 2].bytes, 1000000000 - 600000000 - 300000000 + 10000000);
}

}  // namespace
}  // namespace hainbrem

#include "kern/eigenschaftsliste.hpp"

namespace hainbrem {
namespace {

TEST(Eigenschaftsliste, DateiNurWennRegulaerUndLesbar) {
    test::Testordner t;
    const std::string xml = lies("diskutil-info-apfs.plist");
    t.datei("gut.plist");
    {
        std::ofstream(t / "gut.plist") << xml;
        std::ofstream(t / "binaer.plist", std::ios::binary) << alsBinaer(xml);
        std::ofstream(t / "kaputt.plist") << "<plist><dict><key>x</key>";
    }
    ::mkfifo((t / "rohr.plist").c_str(), 0644);  // would block a plain read forever
    t.ordner("ordner.plist");
    for (const char* name : {"gut.plist", "binaer.plist"}) {
        const auto p = Eigenschaftsliste::ausDatei(t / name);
        ASSERT_TRUE(p) << name;
        EXPECT_EQ(p->wurzel().feld("APFSContainerReference").text(), "disk3") << name;
        EXPECT_EQ(p->wurzel().feld("Size").zahl(), 245107195904) << name;
        EXPECT_EQ(p->wurzel().feld("Bootable").wahrheit(), true) << name;
        EXPECT_TRUE(p->wurzel().feld("fehlt").leer()) << name;
        EXPECT_EQ(p->wurzel().feld("Size").text(), std::nullopt) << "falscher Typ ist nichts";
    }
    for (const char* name : {"kaputt.plist", "rohr.plist", "ordner.plist", "fehlt.plist"})
        EXPECT_FALSE(Eigenschaftsliste::ausDatei(t / name)) << name;
}

}  // namespace
}  // namespace hainbrem
