#pragma once
// Reading a small file that someone else may have replaced: a named pipe or a device in its place
// must not hang the reader, and a link at its name is not followed.
#include <cstddef>
#include <filesystem>
#include <string>

namespace hainbrem {

// The whole content of the regular file `datei` (at most `hoechstens` bytes) into `inhalt`. 0, or
// why not as an errno: ENOENT missing, ELOOP a link, EINVAL not a regular file, EFBIG larger.
int leseRegulaer(const std::filesystem::path& datei, size_t hoechstens, std::string& inhalt);

}  // namespace hainbrem
