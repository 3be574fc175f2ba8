// macOS: the whole-disk scan finds its volumes through firmlinks and the APFS volume list,
// so no mount table is needed here.
#include <fcntl.h>

#include "plattform/scan.hpp"

namespace hainbrem::plattform {

std::vector<Einhaengung> einhaengTabelle() { return {}; }
std::vector<Einhaengung> einhaengTabelleAus(const std::string&) { return {}; }

std::optional<std::string> plattenName(const std::string&) { return std::nullopt; }

void liestNacheinander(int fd) { ::fcntl(fd, F_RDAHEAD, 1); }
void brauchtNichtMehr(int fd) { ::fcntl(fd, F_NOCACHE, 1); }

}  // namespace hainbrem::plattform
