#include "kern/dateiinhalt.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>

#include "plattform/dateisystem.hpp"

namespace hainbrem {

int leseRegulaer(const std::filesystem::path& datei, size_t hoechstens, std::string& inhalt) {
    inhalt.clear();
    const int fd = plattform::oeffneZumAnsehen(datei.c_str());
    if (fd < 0) return -fd;
    struct stat st {};
    int fehler = 0;
    if (::fstat(fd, &st) != 0) fehler = errno;
    else if (!S_ISREG(st.st_mode)) fehler = EINVAL;
    else if (static_cast<uint64_t>(st.st_size) > hoechstens) fehler = EFBIG;
    if (fehler == 0) {
        // the size read first may grow meanwhile: never past the bound
        inhalt.resize(static_cast<size_t>(st.st_size) + 1);
        size_t gelesen = 0;
        while (gelesen < inhalt.size()) {
            const ssize_t n = ::read(fd, inhalt.data() + gelesen, inhalt.size() - gelesen);
            if (n < 0 && errno == EINTR) continue;
            if (n < 0) fehler = errno;
            if (n <= 0) break;
            gelesen += static_cast<size_t>(n);
            if (gelesen > hoechstens) {
                fehler = EFBIG;
                break;
            }
            if (gelesen == inhalt.size()) inhalt.resize(std::min(hoechstens + 1, inhalt.size() * 2));
        }
        inhalt.resize(fehler == 0 ? gelesen : 0);
    }
    ::close(fd);
    return fehler;
}

}  // namespace hainbrem
