// The one containment check: what a deleting program asks before it trusts a folder rule.
#include "basis/pfade.hpp"

#include <gtest/gtest.h>

namespace hainbrem {
namespace {

TEST(Pfade, LiegtInTabelle) {
    struct {
        std::string_view pfad, ordner;
        bool in, inOderIst;
        std::string_view rest;
    } faelle[] = {
        {"/a/b/c", "/a/b", true, true, "c"},
        {"/a/b/c/d", "/a/b/", true, true, "c/d"},  // slash at the end of the folder
        {"/a/b/c/", "/a/b", true, true, "c"},      // and of the path
        {"/a/b", "/a/b", false, true, ""},         // the folder itself
        {"/a/b/", "/a/b", false, true, ""},
        {"/a/bc", "/a/b", false, false, ""},  // a look-alike prefix
        {"/a/b.bak/x", "/a/b", false, false, ""},
        {"/a", "/a/b", false, false, ""},  // above
        {"/x", "/", true, true, "x"},      // the root holds every other path
        {"/", "/", false, true, ""},
        {"//", "/", false, true, ""},
        {"relativ/x", "/", false, false, ""},
        {"relativ/x", "relativ", true, true, "x"},
        {"/a", "", false, false, ""},  // nothing lies in nothing
        {"", "", false, false, ""},
        {"", "/", false, false, ""},
        {"/a/\xff\xfe/x", "/a/\xff\xfe", true, true, "x"},  // bytes that are no UTF-8
        {"/a/\xff\xfe", "/a/\xff", false, false, ""},
        {"/A/b", "/a", false, false, ""},  // case counts: the disk decides, not the text
    };
    for (const auto& f : faelle) {
        SCOPED_TRACE(std::string(f.pfad) + " in " + std::string(f.ordner));
        EXPECT_EQ(liegtIn(f.pfad, f.ordner), f.in);
        EXPECT_EQ(liegtInOderIst(f.pfad, f.ordner), f.inOderIst);
        EXPECT_EQ(relativ(f.pfad, f.ordner), f.rest);
    }
}

TEST(Pfade, KleinNurAscii) {
    EXPECT_EQ(klein("Foto.APP/Ä"), "foto.app/Ä");
    EXPECT_TRUE(gleichOhneFall("Library", "LIBRARY"));
    EXPECT_FALSE(gleichOhneFall("Library", "Librar"));
    EXPECT_FALSE(gleichOhneFall("Ä", "ä"));
}

}  // namespace
}  // namespace hainbrem
