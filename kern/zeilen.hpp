#pragma once
// Line splitting for the parsers of tool output and config files.
#include <string_view>
#include <vector>

namespace hainbrem {

// The lines of `text`, without "\n" and a trailing "\r"; no line after a final "\n".
inline std::vector<std::string_view> zeilen(std::string_view text) {
    std::vector<std::string_view> aus;
    size_t start = 0;
    while (start < text.size()) {
        size_t ende = text.find('\n', start);
        if (ende == std::string_view::npos) ende = text.size();
        std::string_view z = text.substr(start, ende - start);
        start = ende + 1;
        if (!z.empty() && z.back() == '\r') z.remove_suffix(1);
        aus.push_back(z);
    }
    return aus;
}

}  // namespace hainbrem
