// How long hainbrem-app takes from a click on its sidebar to the new page on the screen, as the
// user sees it: the click goes through the X server (XTest) like a real one, and the repaint
// counts when the X server reports drawing (Damage) on the clicked item and that item's pixels
// are those of the selected item. With --scan a whole-disk scan runs meanwhile, started with
// Ctrl+Shift+R as a user starts it (--kalt: every cache dropped before, needs root).
//   klickmesser --pid PID [--ruhe N] [--scan] [--kalt] [--roh DATEI]
// DISPLAY names the X server. One line per phase on stdout; --roh appends "phase ms" per click.
// The measurer itself runs with real-time priority where it may, so it stands for the screen,
// not for one more program competing for the processors.
#include <poll.h>
#include <signal.h>
#include <sched.h>
#include <unistd.h>
#include <xcb/damage.h>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

using Uhr = std::chrono::steady_clock;
using namespace std::chrono_literals;

[[noreturn]] void fehler(const std::string& text) {
    std::fprintf(stderr, "klickmesser: %s\n", text.c_str());
    std::exit(1);
}

double ms(Uhr::duration d) { return std::chrono::duration<double, std::milli>(d).count(); }

struct Rechteck {
    int x = 0, y = 0, b = 0, h = 0;
    bool schneidet(int ax, int ay, int ab, int ah) const {
        return ax < x + b && x < ax + ab && ay < y + h && y < ay + ah;
    }
};

template <typename T>
using Antwort = std::unique_ptr<T, decltype(&std::free)>;

class Anzeige {
public:
    Anzeige() {
        c_ = xcb_connect(nullptr, nullptr);
        if (xcb_connection_has_error(c_)) fehler("keine Verbindung zum X-Server (DISPLAY?)");
        wurzel_ = xcb_setup_roots_iterator(xcb_get_setup(c_)).data->root;
        const xcb_query_extension_reply_t* d = xcb_get_extension_data(c_, &xcb_damage_id);
        const xcb_query_extension_reply_t* t = xcb_get_extension_data(c_, &xcb_test_id);
        if (!d || !d->present) fehler("der X-Server kennt Damage nicht");
        if (!t || !t->present) fehler("der X-Server kennt XTest nicht");
        schadenBasis_ = d->first_event;
        // Damage answers only after the version was agreed
        Antwort<xcb_damage_query_version_reply_t> v(
            xcb_damage_query_version_reply(c_, xcb_damage_query_version(c_, 1, 1), nullptr), std::free);
        if (!v) fehler("Damage antwortet nicht");
    }
    ~Anzeige() { xcb_disconnect(c_); }

    // The main window of the application: mapped, at least 1000 pixels wide, titled "Hainbrem".
    std::optional<xcb_window_t> findeFenster() {
        Antwort<xcb_query_tree_reply_t> baum(xcb_query_tree_reply(c_, xcb_query_tree(c_, wurzel_), nullptr),
                                             std::free);
        if (!baum) return std::nullopt;
        const xcb_window_t* kinder = xcb_query_tree_children(baum.get());
        for (int i = 0; i < xcb_query_tree_children_length(baum.get()); ++i) {
            const xcb_window_t w = kinder[i];
            Antwort<xcb_get_window_attributes_reply_t> a(
                xcb_get_window_attributes_reply(c_, xcb_get_window_attributes(c_, w), nullptr), std::free);
            if (!a || a->map_state != XCB_MAP_STATE_VIEWABLE) continue;
            Antwort<xcb_get_geometry_reply_t> g(xcb_get_geometry_reply(c_, xcb_get_geometry(c_, w), nullptr),
                                                std::free);
            if (!g || g->width < 1000) continue;
            Antwort<xcb_get_property_reply_t> p(
                xcb_get_property_reply(
                    c_, xcb_get_property(c_, 0, w, XCB_ATOM_WM_NAME, XCB_GET_PROPERTY_TYPE_ANY, 0, 64), nullptr),
                std::free);
            if (!p) continue;
            const std::string name(static_cast<const char*>(xcb_get_property_value(p.get())),
                                   static_cast<size_t>(xcb_get_property_value_length(p.get())));
            if (name == "Hainbrem") {
                fenster_ = w;
                breite_ = g->width;
                hoehe_ = g->height;
                return w;
            }
        }
        return std::nullopt;
    }

    void beobachte() {
        Antwort<xcb_translate_coordinates_reply_t> t(
            xcb_translate_coordinates_reply(c_, xcb_translate_coordinates(c_, fenster_, wurzel_, 0, 0), nullptr),
            std::free);
        if (!t) fehler("Fensterlage unbekannt");
        linksOben_ = {t->dst_x, t->dst_y};
        // as a window manager would give it: the keys (Ctrl+Shift+R) go to this window
        xcb_set_input_focus(c_, XCB_INPUT_FOCUS_POINTER_ROOT, fenster_, XCB_CURRENT_TIME);
        // every single drawing, no need to acknowledge
        xcb_damage_create(c_, xcb_generate_id(c_), fenster_, XCB_DAMAGE_REPORT_LEVEL_RAW_RECTANGLES);
        xcb_flush(c_);
    }

    int breite() const { return breite_; }
    int hoehe() const { return hoehe_; }

    std::vector<uint8_t> bild(const Rechteck& r) {
        Antwort<xcb_get_image_reply_t> b(
            xcb_get_image_reply(c_,
                                xcb_get_image(c_, XCB_IMAGE_FORMAT_Z_PIXMAP, fenster_, static_cast<int16_t>(r.x),
                                              static_cast<int16_t>(r.y), static_cast<uint16_t>(r.b),
                                              static_cast<uint16_t>(r.h), ~0u),
                                nullptr),
            std::free);
        if (!b) fehler("Fensterinhalt nicht lesbar");
        const uint8_t* d = xcb_get_image_data(b.get());
        return {d, d + xcb_get_image_data_length(b.get())};
    }

    void zeige(int x, int y) {  // window coordinates
        xcb_test_fake_input(c_, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, wurzel_,
                            static_cast<int16_t>(linksOben_.first + x), static_cast<int16_t>(linksOben_.second + y), 0);
        xcb_flush(c_);
    }
    // Press and release of the left button, sent together; the time they left for the server.
    Uhr::time_point klicke() {
        xcb_test_fake_input(c_, XCB_BUTTON_PRESS, 1, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
        xcb_test_fake_input(c_, XCB_BUTTON_RELEASE, 1, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
        const auto t = Uhr::now();
        xcb_flush(c_);
        return t;
    }
    // Keys held down in order and let go in reverse (keysyms, e.g. Control_L, Shift_L, r).
    void tasten(const std::vector<uint32_t>& zeichen) {
        std::vector<uint8_t> codes;
        for (uint32_t z : zeichen) codes.push_back(tastencode(z));
        for (uint8_t k : codes) xcb_test_fake_input(c_, XCB_KEY_PRESS, k, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
        for (auto k = codes.rbegin(); k != codes.rend(); ++k)
            xcb_test_fake_input(c_, XCB_KEY_RELEASE, *k, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
        xcb_flush(c_);
    }

    // Calls `schaden(rechteck, zeit)` for every drawing on the window until it returns true or
    // the deadline passes. The time is when the report was read, as early as this loop can.
    template <typename F>
    bool warte(Uhr::time_point frist, F&& schaden) {
        for (;;) {
            while (xcb_generic_event_t* e = xcb_poll_for_event(c_)) {
                const auto jetzt = Uhr::now();
                const std::unique_ptr<xcb_generic_event_t, decltype(&std::free)> halter(e, std::free);
                if ((e->response_type & 0x7f) != schadenBasis_ + XCB_DAMAGE_NOTIFY) continue;
                const auto* d = reinterpret_cast<const xcb_damage_notify_event_t*>(e);
                if (schaden(Rechteck{d->area.x, d->area.y, d->area.width, d->area.height}, jetzt)) return true;
            }
            if (xcb_connection_has_error(c_)) fehler("Verbindung zum X-Server verloren");
            const auto rest = frist - Uhr::now();
            if (rest <= 0ns) return false;
            pollfd p{xcb_get_file_descriptor(c_), POLLIN, 0};
            ::poll(&p, 1, static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(rest).count()));
        }
    }
    // Lets every pending report go.
    void leere() {
        xcb_aux_sync();
        while (xcb_generic_event_t* e = xcb_poll_for_event(c_)) std::free(e);
    }

private:
    void xcb_aux_sync() { std::free(xcb_get_input_focus_reply(c_, xcb_get_input_focus(c_), nullptr)); }

    uint8_t tastencode(uint32_t zeichen) {
        const xcb_setup_t* s = xcb_get_setup(c_);
        const uint8_t erster = s->min_keycode;
        const int anzahl = s->max_keycode - s->min_keycode + 1;
        Antwort<xcb_get_keyboard_mapping_reply_t> k(
            xcb_get_keyboard_mapping_reply(
                c_, xcb_get_keyboard_mapping(c_, erster, static_cast<uint8_t>(anzahl)), nullptr),
            std::free);
        if (!k) fehler("Tastaturbelegung nicht lesbar");
        const xcb_keysym_t* syms = xcb_get_keyboard_mapping_keysyms(k.get());
        const int je = k->keysyms_per_keycode;
        for (int i = 0; i < anzahl; ++i)
            for (int j = 0; j < je; ++j)
                if (syms[i * je + j] == zeichen) return static_cast<uint8_t>(erster + i);
        fehler("keine Taste für Zeichen " + std::to_string(zeichen));
    }

    xcb_connection_t* c_;
    xcb_window_t wurzel_;
    xcb_window_t fenster_ = XCB_NONE;
    int breite_ = 0, hoehe_ = 0;
    std::pair<int, int> linksOben_;
    uint8_t schadenBasis_ = 0;
};

// Folders the application holds open: only the scan's walkers do.
int offeneOrdner(pid_t pid) {
    namespace fs = std::filesystem;
    int n = 0;
    std::error_code f;
    for (const auto& e : fs::directory_iterator("/proc/" + std::to_string(pid) + "/fd", f))
        if (fs::is_directory(e.path(), f)) ++n;  // follows the link to what is open
    return n;
}

bool laeuft(pid_t pid) { return ::kill(pid, 0) == 0; }

struct Klick {
    size_t zeile;
    Uhr::time_point start;
    std::optional<double> dauer;
};

struct Zeile {
    Rechteck r;
    std::vector<uint8_t> gewaehlt;  // pixels of the selected item, pointer on it
};

class Messung {
public:
    explicit Messung(Anzeige& a) : a_(a) {}

    // Finds the ten items of the sidebar: Ctrl+1 selects the first page, Ctrl+0 the last; the rows that changed
    // are the first item (no longer selected) and the last one. The others lie evenly between.
    void eichen() {
        const Rechteck leiste{0, 0, 232, a_.hoehe()};
        a_.tasten({0xffe3, '1'});
        std::this_thread::sleep_for(600ms);
        warteRuhe();
        const auto vorher = a_.bild(leiste);
        a_.tasten({0xffe3, '0'});
        std::this_thread::sleep_for(600ms);
        warteRuhe();
        const auto nachher = a_.bild(leiste);
        const size_t zeile = vorher.size() / static_cast<size_t>(leiste.h);
        std::vector<std::pair<int, int>> baender;
        for (int y = 0; y < leiste.h; ++y) {
            const bool anders = std::memcmp(&vorher[static_cast<size_t>(y) * zeile],
                                            &nachher[static_cast<size_t>(y) * zeile], zeile) != 0;
            if (!anders) continue;
            if (!baender.empty() && baender.back().second == y)
                baender.back().second = y + 1;
            else
                baender.emplace_back(y, y + 1);
        }
        if (baender.size() < 2) fehler("Seitenleiste nicht gefunden (ändert Strg+0 die Seite?)");
        const auto [o0, u0] = baender.front();
        const auto [o9, u9] = baender.back();
        const double schritt = (o9 - o0) / 9.0;
        for (int i = 0; i < 10; ++i) {
            const int oben = o0 + static_cast<int>(i * schritt + 0.5);
            zeilen_.push_back(Zeile{Rechteck{2, oben, 226, std::max(u0 - o0, u9 - o9)}, {}});
        }
        // each item once, as it looks selected under the pointer
        for (size_t i = 0; i < zeilen_.size(); ++i) {
            Zeile& z = zeilen_[i];
            a_.zeige(116, z.r.y + z.r.h / 2);
            std::this_thread::sleep_for(150ms);
            a_.klicke();
            std::this_thread::sleep_for(500ms);
            warteRuhe();
            z.gewaehlt = a_.bild(z.r);
            if (std::getenv("KLICKMESSER_ZEILEN")) std::fprintf(stderr, "Zeile %zu: y %d, Höhe %d\n", i, z.r.y, z.r.h);
        }
        naechste_ = 0;
    }

    // One click on the next item; the time until its repaint reached the X server.
    Klick klick(std::mt19937& zufall) {
        const size_t i = naechste_;
        naechste_ = (naechste_ + 1) % zeilen_.size();
        Zeile& z = zeilen_[i];
        a_.zeige(116, z.r.y + z.r.h / 2);
        // the hover repaint is not the answer to the click
        std::this_thread::sleep_for(std::chrono::milliseconds(120 + zufall() % 150));
        a_.leere();
        const auto start = a_.klicke();
        std::optional<double> dauer;
        a_.warte(start + 2s, [&](const Rechteck& r, Uhr::time_point t) {
            if (!z.r.schneidet(r.x, r.y, r.b, r.h)) return false;
            if (a_.bild(z.r) != z.gewaehlt) return false;  // drawn, but not yet as selected
            dauer = ms(t - start);
            return true;
        });
        return {i, start, dauer};
    }

    // Waits until the window has drawn nothing for 300 ms (at most 5 s).
    void warteRuhe() {
        const auto ende = Uhr::now() + 5s;
        while (Uhr::now() < ende) {
            bool gemalt = false;
            a_.warte(Uhr::now() + 300ms, [&](const Rechteck&, Uhr::time_point) { return gemalt = true; });
            if (!gemalt) return;
        }
    }

private:
    Anzeige& a_;
    std::vector<Zeile> zeilen_;
    size_t naechste_ = 0;
};

struct Reihe {
    std::string name;
    Uhr::time_point beginn = Uhr::now();
    struct Wert {
        size_t zeile;
        double sekunde;               // since the phase began
        std::optional<double> dauer;  // none: no repaint within 2 s
    };
    std::vector<Wert> werte;

    void dazu(const Klick& k) { werte.push_back({k.zeile, ms(k.start - beginn) / 1000, k.dauer}); }
    void drucke(const char* zusatz) const {
        std::vector<double> s;
        for (const Wert& w : werte)
            if (w.dauer) s.push_back(*w.dauer);
        const size_t verpasst = werte.size() - s.size();
        std::sort(s.begin(), s.end());
        auto anteil = [&](double q) {
            return s.empty() ? 0.0 : s[static_cast<size_t>(q * static_cast<double>(s.size() - 1) + 0.5)];
        };
        std::printf("%s: %zu Klicks%s, Median %.1f ms, 90 %% %.1f ms, längster %.1f ms%s\n", name.c_str(), s.size(),
                    zusatz, anteil(0.5), anteil(0.9), s.empty() ? 0.0 : s.back(),
                    verpasst ? (", " + std::to_string(verpasst) + " ohne Bild nach 2 s").c_str() : "");
    }
    // "phase item second ms" per click; a click without repaint counts as 2000 ms
    void schreibe(const std::string& datei) const {
        if (datei.empty()) return;
        std::ofstream aus(datei, std::ios::app);
        for (const Wert& w : werte) aus << name << ' ' << w.zeile << ' ' << w.sekunde << ' ' << w.dauer.value_or(2000) << '\n';
    }
};

void leereCaches() {
    ::sync();
    std::ofstream f("/proc/sys/vm/drop_caches");
    if (!(f << "3\n" << std::flush)) fehler("Caches lassen sich nicht leeren (nur als root)");
}

}  // namespace

int main(int argc, char** argv) {
    pid_t pid = 0;
    int ruhe = 20;
    bool scan = false, kalt = false;
    std::string roh;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "--pid" && i + 1 < argc)
            pid = std::atoi(argv[++i]);
        else if (a == "--ruhe" && i + 1 < argc)
            ruhe = std::atoi(argv[++i]);
        else if (a == "--scan")
            scan = true;
        else if (a == "--kalt")
            kalt = true;
        else if (a == "--roh" && i + 1 < argc)
            roh = argv[++i];
        else
            fehler("unbekannt: " + a + "\nAufruf: klickmesser --pid PID [--ruhe N] [--scan] [--kalt] [--roh DATEI]");
    }
    if (pid <= 0) fehler("--pid fehlt");
    sched_param p{};
    p.sched_priority = 10;
    const bool echtzeit = ::sched_setscheduler(0, SCHED_FIFO, &p) == 0;

    Anzeige a;
    const auto frist = Uhr::now() + 60s;
    while (!a.findeFenster()) {
        if (Uhr::now() > frist || !laeuft(pid)) fehler("kein Fenster „Hainbrem“");
        std::this_thread::sleep_for(100ms);
    }
    a.beobachte();
    Messung m(a);
    m.eichen();
    std::mt19937 zufall(21);
    std::printf("Messer %s\n", echtzeit ? "mit Echtzeitvorrang" : "ohne Echtzeitvorrang (nicht root?)");

    Reihe r{"ruhe", Uhr::now(), {}};
    for (int i = 0; i < ruhe; ++i) r.dazu(m.klick(zufall));
    r.drucke("");
    r.schreibe(roh);
    if (!scan) return 0;

    Reihe s{"scan", Uhr::now(), {}};
    m.warteRuhe();
    const int vorher = offeneOrdner(pid);
    if (kalt) leereCaches();
    const auto start = Uhr::now();
    s.beginn = start;
    a.tasten({0xffe3, 0xffe1, 'r'});  // Ctrl+Shift+R: "Platte scannen"
    // the scan runs while the application holds folders open (closed for 200 ms: ended); after
    // it the result is taken in and drawn, which counts as well
    std::atomic<bool> fertig{false};
    std::atomic<int64_t> ende{0};  // steady clock, ns; 0 while the scan runs
    std::thread wache([&] {
        bool begonnen = false;
        std::optional<Uhr::time_point> zu;
        while (!fertig) {
            const auto jetzt = Uhr::now();
            if (offeneOrdner(pid) > vorher) {
                begonnen = true;
                zu.reset();
            } else if (begonnen && !zu) {
                zu = jetzt;
            }
            if ((zu && jetzt - *zu > 200ms) || jetzt - start > 300s) {
                ende = (zu ? *zu : jetzt).time_since_epoch().count();
                return;
            }
            std::this_thread::sleep_for(5ms);
        }
    });
    auto endeZeit = [&] { return Uhr::time_point(Uhr::duration(ende.load())); };
    while (ende == 0 || Uhr::now() < endeZeit() + 1500ms) {
        s.dazu(m.klick(zufall));
        if (!laeuft(pid)) fehler("die Anwendung ist beendet");
    }
    fertig = true;
    wache.join();
    char zusatz[64];
    std::snprintf(zusatz, sizeof zusatz, " während %.1f s Scan%s", ms(endeZeit() - start) / 1000, kalt ? " (kalt)" : "");
    s.drucke(zusatz);
    s.schreibe(roh);
    return 0;
}
