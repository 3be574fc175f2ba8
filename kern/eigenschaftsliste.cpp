#include "kern/eigenschaftsliste.hpp"

#include <plist/plist.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <limits>

namespace hainbrem {

namespace {
plist_t roh(void* k) { return static_cast<plist_t>(k); }
}  // namespace

bool PlistKnoten::istDict() const { return k_ && plist_get_node_type(roh(k_)) == PLIST_DICT; }
bool PlistKnoten::istListe() const { return k_ && plist_get_node_type(roh(k_)) == PLIST_ARRAY; }

PlistKnoten PlistKnoten::feld(std::string_view schluessel) const {
    if (!istDict()) return {};
    const std::string s(schluessel);
    return PlistKnoten(plist_dict_get_item(roh(k_), s.c_str()));
}

size_t PlistKnoten::anzahl() const { return istListe() ? plist_array_get_size(roh(k_)) : 0; }

PlistKnoten PlistKnoten::element(size_t i) const {
    if (i >= anzahl()) return {};
    return PlistKnoten(plist_array_get_item(roh(k_), static_cast<uint32_t>(i)));
}

std::optional<std::string> PlistKnoten::text() const {
    if (!k_ || plist_get_node_type(roh(k_)) != PLIST_STRING) return std::nullopt;
    uint64_t laenge = 0;
    const char* p = plist_get_string_ptr(roh(k_), &laenge);
    if (!p) return std::nullopt;
    return std::string(p, static_cast<size_t>(laenge));
}

std::optional<int64_t> PlistKnoten::zahl() const {
    if (!k_) return std::nullopt;
    switch (plist_get_node_type(roh(k_))) {
        case PLIST_UINT: {
            // libplist keeps every integer in 64 bits; negative ones arrive two's-complement
            uint64_t v = 0;
            plist_get_uint_val(roh(k_), &v);
            return static_cast<int64_t>(v);
        }
        case PLIST_REAL: {
            double d = 0;
            plist_get_real_val(roh(k_), &d);
            if (!(d >= -9.2e18 && d <= 9.2e18)) return std::nullopt;
            return static_cast<int64_t>(d);
        }
        default: return std::nullopt;
    }
}

std::optional<bool> PlistKnoten::wahrheit() const {
    if (!k_ || plist_get_node_type(roh(k_)) != PLIST_BOOLEAN) return std::nullopt;
    uint8_t b = 0;
    plist_get_bool_val(roh(k_), &b);
    return b != 0;
}

void Eigenschaftsliste::Freigabe::operator()(void* p) const {
    if (p) plist_free(roh(p));
}

std::optional<Eigenschaftsliste> Eigenschaftsliste::ausSpeicher(std::string_view daten) {
    if (daten.empty() || daten.size() > std::numeric_limits<uint32_t>::max()) return std::nullopt;
    plist_t p = nullptr;
    plist_from_memory(daten.data(), static_cast<uint32_t>(daten.size()), &p);
    if (!p) return std::nullopt;
    Eigenschaftsliste e;
    e.wurzel_.reset(p);
    return e;
}

std::optional<Eigenschaftsliste> Eigenschaftsliste::ausDatei(const std::filesystem::path& pfad) {
    // O_NONBLOCK and the type check: a named pipe or device where a plist should be must not hang us
    const int fd = ::open(pfad.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (fd < 0) return std::nullopt;
    struct stat st;
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) || st.st_size > maxDateiGroesse) {
        ::close(fd);
        return std::nullopt;
    }
    std::string daten(static_cast<size_t>(st.st_size), '\0');
    size_t gelesen = 0;
    while (gelesen < daten.size()) {
        const ssize_t n = ::read(fd, daten.data() + gelesen, daten.size() - gelesen);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        gelesen += static_cast<size_t>(n);
    }
    ::close(fd);
    daten.resize(gelesen);
    return ausSpeicher(daten);
}

}  // namespace hainbrem
