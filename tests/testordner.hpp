#pragma once
// Every test works in its own fresh folder below the system temp dir, never in a real home.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

namespace hainbrem::test {

namespace fs = std::filesystem;

class Testordner {
public:
    Testordner() {
        const char* basis = std::getenv("HAINBREM_TESTBASIS");
        std::string muster = std::string(basis && *basis ? basis : "/tmp") + "/hainbrem-test-XXXXXX";
        if (!::mkdtemp(muster.data())) throw std::runtime_error("mkdtemp");
        wurzel_ = muster;
        ::chmod(wurzel_.c_str(), 0755);  // so tests may read it as an unprivileged user
    }
    ~Testordner() {
        std::error_code e;
        // unreadable folders made by a test must not stop the clean-up
        for (auto it = fs::recursive_directory_iterator(wurzel_, fs::directory_options::skip_permission_denied, e);
             !e && it != fs::recursive_directory_iterator(); it.increment(e))
            if (it->is_directory(e) && !it->is_symlink(e)) ::chmod(it->path().c_str(), 0755);
        ::chmod(wurzel_.c_str(), 0755);
        fs::remove_all(wurzel_, e);
    }
    Testordner(const Testordner&) = delete;
    Testordner& operator=(const Testordner&) = delete;

    const fs::path& pfad() const { return wurzel_; }
    fs::path operator/(std::string_view rel) const { return wurzel_ / rel; }

    // A file of `bytes` real bytes (not sparse), parent folders created.
    fs::path datei(std::string_view rel, size_t bytes = 0, char fuell = 'x') const {
        const fs::path p = wurzel_ / rel;
        fs::create_directories(p.parent_path());
        std::ofstream aus(p, std::ios::binary | std::ios::trunc);
        const std::string block(std::min<size_t>(bytes, 1 << 16), fuell);
        for (size_t rest = bytes; rest > 0;) {
            const size_t n = std::min(rest, block.size());
            aus.write(block.data(), static_cast<std::streamsize>(n));
            rest -= n;
        }
        return p;
    }
    fs::path ordner(std::string_view rel) const {
        const fs::path p = wurzel_ / rel;
        fs::create_directories(p);
        return p;
    }

private:
    fs::path wurzel_;
};

// Sets a file's modification time to `tageAlt` days before now.
// A whole file as it lies on disk ("" when missing).
inline std::string lies(const fs::path& p) {
    std::ifstream ein(p, std::ios::binary);
    return {std::istreambuf_iterator<char>(ein), std::istreambuf_iterator<char>()};
}

// Writes `inhalt` as the whole file, with the folders above it.
inline void schreibe(const fs::path& p, std::string_view inhalt) {
    fs::create_directories(p.parent_path());
    std::ofstream(p, std::ios::binary) << inhalt;
}

inline void altere(const fs::path& p, double tageAlt) {
    timespec zeiten[2];
    ::clock_gettime(CLOCK_REALTIME, &zeiten[0]);
    zeiten[0].tv_sec -= static_cast<time_t>(tageAlt * 86400.0);
    zeiten[1] = zeiten[0];
    ::utimensat(AT_FDCWD, p.c_str(), zeiten, AT_SYMLINK_NOFOLLOW);
}

// Runs a shell command line; returns its stdout (test-only convenience).
std::string laufe(const std::string& befehl, int* status = nullptr);

// True when the tests run as root and can become `nobody` to test unreadable folders.
bool kannAlsNobodyLaufen();

// A CMake project in `quelle` (a CMakeLists.txt that needs no compiler, written unless there)
// configured by the real cmake into `bau`; false when cmake is missing or fails.
bool cmakeProjekt(const fs::path& quelle, const fs::path& bau);

// A copy of /bin/sleep named `name` in `ordner` (parents created), for a process that looks like
// a given program.
fs::path schlaeferNamens(const fs::path& ordner, std::string_view name);

// A process running `programm 30`, stdin read from `eingabe` when given; killed and reaped by
// `beende` or at the end of the scope.
class Hintergrund {
public:
    explicit Hintergrund(const fs::path& programm, const fs::path& eingabe = {});
    ~Hintergrund() { beende(); }
    Hintergrund(const Hintergrund&) = delete;
    Hintergrund& operator=(const Hintergrund&) = delete;
    pid_t pid() const { return pid_; }
    void beende();

private:
    pid_t pid_ = -1;
};

}  // namespace hainbrem::test
