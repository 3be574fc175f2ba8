#include "kern/testsperre.hpp"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

#include "basis/pfade.hpp"

namespace hainbrem {

namespace fs = std::filesystem;

bool imEchtenHomeWaehrendTest(const fs::path& pfad) {
    const char* test = std::getenv("HAINBREM_TEST");
    if (!test || std::string_view(test) != "1") return false;
    const passwd* pw = ::getpwuid(::getuid());
    if (!pw || !pw->pw_dir || !*pw->pw_dir) return true;  // unknown: refuse rather than guess
    const std::string echt = fs::path(pw->pw_dir).lexically_normal().native();
    std::error_code e;
    const fs::path absolut = pfad.is_absolute() ? pfad : fs::current_path(e) / pfad;
    if (e) return true;
    if (liegtInOderIst(absolut.lexically_normal().native(), echt)) return true;
    // also through links in the parent chain, resolved as text and as the kernel resolves them
    const fs::path echtReal = fs::weakly_canonical(pw->pw_dir, e);
    if (echtReal.empty()) return true;
    const fs::path elternReal = fs::weakly_canonical(absolut.lexically_normal().parent_path(), e);
    if (!elternReal.empty() && liegtInOderIst((elternReal / absolut.filename()).native(), echtReal.native()))
        return true;
    const std::string& roh = absolut.native();
    const size_t schnitt = roh.rfind('/');
    const std::string elternRoh = schnitt == 0 ? "/" : roh.substr(0, schnitt);
    std::unique_ptr<char, decltype(&std::free)> kern(::realpath(elternRoh.c_str(), nullptr), &std::free);
    return kern && liegtInOderIst(std::string(kern.get()) + "/" + roh.substr(schnitt + 1), echtReal.native());
}

}  // namespace hainbrem
