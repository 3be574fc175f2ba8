// Every long operation runs on the one pool and one control: it gets done with whatever threads
// can be had, and it stops on its control with a result that holds together.
#include "kern/arbeiter.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <latch>
#include <mutex>
#include <system_error>

#include "fixture_home.hpp"
#include "kern/duplikate.hpp"
#include "kern/groesse.hpp"
#include "kern/katalog.hpp"
#include "kern/loeschen.hpp"
#include "kern/programme.hpp"
#include "kern/projekte.hpp"
#include "kern/speichertricks.hpp"
#include "kern/tiefengang.hpp"
#include "kern/tiefenscan.hpp"
#include "plattform/faeden.hpp"

namespace hainbrem {
namespace {

// Lets `erlaubt` helper threads start, then fails every start as a system without threads does.
class FadenGrenze {
public:
    explicit FadenGrenze(int erlaubt)
        : erlaubt_(erlaubt), alt_(Arbeiter::setzeStarter([this](std::function<void()> f) {
              if (gestartet_.fetch_add(1) >= erlaubt_) throw std::system_error(EAGAIN, std::generic_category());
              return std::thread(std::move(f));
          })) {}
    ~FadenGrenze() { Arbeiter::setzeStarter(std::move(alt_)); }

private:
    const int erlaubt_;
    std::atomic<int> gestartet_{0};
    Arbeiter::Starter alt_;
};

struct Welt {
    test::Testordner t;
    test::MacHome h{t};
    Welt() {
        h.datei("Projects/web/package.json", 100, 60);
        for (int i = 0; i < 300; ++i)
            h.datei("Projects/web/node_modules/p" + std::to_string(i % 30) + "/f" + std::to_string(i), 2000, 60);
        const std::string megabyte(1'200'000, 'd');
        for (const char* n : {"dup/a", "dup/b", "dup/tief/c"}) t.datei(n, megabyte.size(), 'd');
    }
};

struct Summe {
    int64_t bytes = 0;
    size_t teile = 0;
    bool operator==(const Summe&) const = default;
};

template <typename L>
Summe summe(const L& liste, int64_t (*bytes)(const typename L::value_type&)) {
    Summe s{0, liste.size()};
    for (const auto& x : liste) s.bytes += bytes(x);
    return s;
}

const std::vector<std::pair<const char*, std::function<Summe(const Welt&, Steuerung*)>>> vorgaenge{
    {"tiefenscan",
     [](const Welt& w, Steuerung* s) {
         const auto e = Tiefenscan::scanne(w.h.home(), true, s);
         return e.wurzel ? Summe{e.wurzel->bytes, static_cast<size_t>(e.wurzel->dateien)} : Summe{};
     }},
    {"groesse",
     [](const Welt& w, Steuerung* s) {
         const auto m = Groesse::miss(w.h.home(), 4, s);
         return Summe{m.bytes, m.angehalten ? 0u : 1u};
     }},
    {"duplikate",
     [](const Welt& w, Steuerung* s) {
         return summe(Duplikate::finde(Tiefenscan::scanneOrdner(w.t / "dup", (w.t / "dup").native()).kandidaten, s),
                      +[](const DuplikatGruppe& g) { return g.wirklichFrei; });
     }},
    {"katalog",
     [](const Welt& w, Steuerung* s) {
         return summe(Katalog::pruefe(w.h.umgebung(), s), +[](const RegelErgebnis& e) { return e.bytes(); });
     }},
    {"programme",
     [](const Welt& w, Steuerung* s) {
         return summe(Programme::alle(w.h.umgebung(), {w.h.programme()}, s),
                      +[](const Programm& p) { return p.bytes + p.resteBytes(); });
     }},
    {"verwaist",
     [](const Welt& w, Steuerung* s) {
         return summe(Programme::verwaist({}, w.h.umgebung(), {}, s), +[](const Verwaist& v) { return v.bytes(); });
     }},
    {"projekte",
     [](const Welt& w, Steuerung* s) {
         return summe(Projekte::finde(w.h.umgebung(), 6, s), +[](const Bauabfall& b) { return b.fund.bytes; });
     }},
    {"systemdaten",
     [](const Welt& w, Steuerung* s) {
         const auto temp = Systemdaten::messen(w.h.umgebung(), [](auto&, auto&) -> Ergebnis<std::string> { return Fehlschlag{"keins"}; }, s).at(1);
         return Summe{temp.bytes.value_or(0), temp.bytes ? 1u : 0u};
     }},
};

TEST(Arbeiter, OhneHelferWirdJederVorgangGanzFertig) {
    const Welt w;
    for (const auto& [name, vorgang] : vorgaenge) {
        SCOPED_TRACE(name);
        const Summe soll = vorgang(w, nullptr);
        EXPECT_GT(soll.bytes, 0);
        for (const int erlaubt : {0, 1}) {
            const FadenGrenze grenze(erlaubt);
            Summe ist;
            EXPECT_NO_THROW(ist = vorgang(w, nullptr)) << erlaubt;
            EXPECT_EQ(ist, soll) << erlaubt;
        }
    }
    // deleting as well: the whole tree goes on the caller's thread alone
    const FadenGrenze keine(0);
    EXPECT_EQ(Arbeiter(4).faeden(), 1u);
    for (int i = 0; i < 50; ++i) w.t.datei("weg/o" + std::to_string(i % 7) + "/u" + std::to_string(i) + "/f", 10);
    EXPECT_TRUE(loescheBaum(w.t / "weg", 4).ok());
    EXPECT_FALSE(fs::exists(w.t / "weg"));
}

// A pool grows while its work runs, from inside that work, and stops growing where starts fail.
TEST(Arbeiter, WaechstWaehrendDerArbeit) {
    for (const auto& [erlaubt, soll] : std::vector<std::pair<int, unsigned>>{{99, 6}, {2, 3}, {0, 1}}) {
        const FadenGrenze grenze(erlaubt);
        Arbeiter a(1);
        std::atomic<int> summe{0};
        EXPECT_NO_THROW(a.fuerAlle(200, [&](size_t i) {
            if (i == 0) a.wachse(6);
            summe += static_cast<int>(i);
        }));
        EXPECT_EQ(summe.load(), 199 * 200 / 2) << erlaubt;
        EXPECT_EQ(a.faeden(), soll) << erlaubt;
    }
}

// A scan that believes the disk is slow grows its pool at every look, mid-walk; the tree it
// returns is the same as without growing.
TEST(Arbeiter, TiefenscanWaechstOhneZuVerlieren) {
    test::Testordner t;
    for (int i = 0; i < 9000; ++i)
        t.datei("baum/t" + std::to_string(i % 5) + "/u" + std::to_string(i % 37) + "/f" + std::to_string(i), 1);
    const auto soll = Tiefenscan::scanneOrdner(t / "baum", "");
    ASSERT_TRUE(soll.wurzel);
    const auto alt = Tiefenscan::Zuwachs::setzeMessung({[] { return std::chrono::nanoseconds(0); }, {}});
    for (int lauf = 0; lauf < 3; ++lauf) {
        const auto ist = Tiefenscan::scanneOrdner(t / "baum", "");
        ASSERT_TRUE(ist.wurzel);
        EXPECT_EQ(ist.wurzel->dateien, soll.wurzel->dateien);
        EXPECT_EQ(ist.wurzel->bytes, soll.wurzel->bytes);
        ASSERT_EQ(ist.wurzel->kinder.size(), soll.wurzel->kinder.size());
        for (size_t i = 0; i < ist.wurzel->kinder.size(); ++i)
            EXPECT_EQ(ist.wurzel->kinder[i]->bytes, soll.wurzel->kinder[i]->bytes) << ist.wurzel->kinder[i]->pfad;
    }
    Tiefenscan::Zuwachs::setzeMessung(alt);
}

// Whether a thread can be put behind the others here at all (a container may forbid it).
bool nachrangMoeglich() {
    bool ok = false;
    std::thread([&] { ok = plattform::nachrangig() && plattform::laeuftNachrangig(); }).join();
    return ok;
}

// Notes, as each helper ends, whether it ran behind the others.
class RangZeugen {
public:
    RangZeugen()
        : alt_(Arbeiter::setzeStarter([this](std::function<void()> f) {
              return std::thread([this, f = std::move(f)] {
                  f();
                  std::lock_guard lock(sperre_);
                  raenge_.push_back(plattform::laeuftNachrangig());
              });
          })) {}
    ~RangZeugen() { Arbeiter::setzeStarter(std::move(alt_)); }
    std::vector<bool> raenge() {
        std::lock_guard lock(sperre_);
        return raenge_;
    }

private:
    std::mutex sperre_;
    std::vector<bool> raenge_;
    Arbeiter::Starter alt_;
};

// Helpers give way only where their pool says so; the thread that waits and works along keeps
// its rank either way (in the application it is the model's).
TEST(Arbeiter, NurNachrangigeHelferTretenZurueck) {
    if (!nachrangMoeglich()) GTEST_SKIP() << "das System lässt keinen Faden zurücktreten";
    for (const auto helfer : {Arbeiter::Helfer::gleichrangig, Arbeiter::Helfer::nachrangig}) {
        const bool soll = helfer == Arbeiter::Helfer::nachrangig;
        std::vector<bool> helferRang;
        {
            RangZeugen zeugen;
            Arbeiter a(4, Arbeiter::Reihenfolge::aeltesteZuerst, helfer);
            ASSERT_EQ(a.faeden(), 4u);
            // each thread holds one piece until all four have one: every thread of the pool runs one
            std::latch alle(4);
            std::mutex sperre;
            std::vector<std::pair<bool, bool>> gesehen;  // (caller, behind the others)
            const auto aufrufer = std::this_thread::get_id();
            a.fuerAlle(4, [&](size_t) {
                const bool rang = plattform::laeuftNachrangig();
                {
                    std::lock_guard lock(sperre);
                    gesehen.emplace_back(std::this_thread::get_id() == aufrufer, rang);
                }
                alle.arrive_and_wait();
            });
            ASSERT_EQ(gesehen.size(), 4u);
            EXPECT_EQ(std::count(gesehen.begin(), gesehen.end(), std::pair{true, false}), 1) << soll;
            EXPECT_EQ(std::count(gesehen.begin(), gesehen.end(), std::pair{false, soll}), 3) << soll;
        }
        EXPECT_FALSE(plattform::laeuftNachrangig());
    }
}

// A scan's helpers give way, also those it starts as it grows; its caller and the pools of
// other work keep their rank.
TEST(Arbeiter, ScanTrittZurueckDerRestNicht) {
    if (!nachrangMoeglich()) GTEST_SKIP() << "das System lässt keinen Faden zurücktreten";
    test::Testordner t;
    for (int i = 0; i < 6000; ++i)
        t.datei("baum/t" + std::to_string(i % 5) + "/u" + std::to_string(i % 37) + "/f" + std::to_string(i), 1);
    const auto alt = Tiefenscan::Zuwachs::setzeMessung({[] { return std::chrono::nanoseconds(0); }, {}});
    std::vector<bool> scan;
    {
        RangZeugen zeugen;
        ASSERT_TRUE(Tiefenscan::scanneOrdner(t / "baum", "").wurzel);
        scan = zeugen.raenge();
    }
    Tiefenscan::Zuwachs::setzeMessung(alt);
    ASSERT_FALSE(scan.empty());
    EXPECT_EQ(std::count(scan.begin(), scan.end(), true), static_cast<long>(scan.size()));
    EXPECT_FALSE(plattform::laeuftNachrangig());

    std::vector<bool> messen;
    {
        RangZeugen zeugen;
        EXPECT_GT(Groesse::miss(t / "baum", 4).bytes, 0);
        messen = zeugen.raenge();
    }
    EXPECT_EQ(messen.size(), 3u);
    EXPECT_EQ(std::count(messen.begin(), messen.end(), true), 0);
}

TEST(Steuerung, JederVorgangHaeltAnUndLiefertEinenTeil) {
    const Welt w;
    for (const auto& [name, vorgang] : vorgaenge) {
        SCOPED_TRACE(name);
        const Summe ganz = vorgang(w, nullptr);
        // stopped before the start: nothing; stopped at the first sign of progress: no more than all
        for (const bool sofort : {true, false}) {
            std::stop_source stopp;
            Steuerung s(stopp.get_token());
            if (sofort) stopp.request_stop();
            std::jthread waechter([&](std::stop_token ende) {
                while (!ende.stop_requested() && s.erledigt.load() == 0 && s.bytes.load() == 0)
                    std::this_thread::yield();
                stopp.request_stop();
            });
            const Summe teil = vorgang(w, &s);
            if (sofort) {
                EXPECT_EQ(teil, Summe{});
            }
            EXPECT_LE(teil.bytes, ganz.bytes) << sofort;
            EXPECT_LE(teil.teile, ganz.teile) << sofort;
        }
    }
}

}  // namespace
}  // namespace hainbrem
