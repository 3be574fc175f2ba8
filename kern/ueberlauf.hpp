#pragma once
// Byte counts are int64_t everywhere. A wrap would promise space that never comes free,
// so overflow ends the process instead.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace hainbrem {

[[noreturn]] inline void ueberlauf(const char* wo) {
    std::fprintf(stderr, "hainbrem: Zahlenüberlauf in %s – Abbruch\n", wo);
    std::abort();
}

inline int64_t addiere(int64_t a, int64_t b) {
    int64_t r;
    if (__builtin_add_overflow(a, b, &r)) ueberlauf("Addition");
    return r;
}

inline int64_t subtrahiere(int64_t a, int64_t b) {
    int64_t r;
    if (__builtin_sub_overflow(a, b, &r)) ueberlauf("Subtraktion");
    return r;
}

inline int64_t multipliziere(int64_t a, int64_t b) {
    int64_t r;
    if (__builtin_mul_overflow(a, b, &r)) ueberlauf("Multiplikation");
    return r;
}

// For counts that arrive unsigned from the system (st_blocks, f_bavail, …).
template <typename U>
inline int64_t alsInt64(U wert) {
    int64_t r;
    if (__builtin_add_overflow(wert, U{0}, &r)) ueberlauf("Umwandlung");
    return r;
}

}  // namespace hainbrem
