#include "testordner.hpp"

#include <sys/wait.h>

#include <array>
#include <cstdio>

namespace hainbrem::test {

std::string laufe(const std::string& befehl, int* status) {
    std::string aus;
    FILE* f = ::popen(befehl.c_str(), "r");
    if (!f) {
        if (status) *status = -1;
        return aus;
    }
    std::array<char, 4096> puffer;
    size_t n;
    while ((n = std::fread(puffer.data(), 1, puffer.size(), f)) > 0) aus.append(puffer.data(), n);
    const int s = ::pclose(f);
    if (status) *status = WIFEXITED(s) ? WEXITSTATUS(s) : -1;
    return aus;
}

bool kannAlsNobodyLaufen() {
    if (::geteuid() != 0) return false;
    int status = 0;
    laufe("setpriv --reuid=nobody --regid=nogroup --clear-groups true 2>/dev/null", &status);
    return status == 0;
}

}  // namespace hainbrem::test
