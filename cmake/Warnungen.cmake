# The one place for warning and sanitizer flags; every target calls hainbrem_flags().
add_library(hainbrem_flags INTERFACE)
target_compile_options(hainbrem_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
  -Wnon-virtual-dtor -Wold-style-cast -Wcast-align -Woverloaded-virtual
  -Wdouble-promotion -Wformat=2 -Wimplicit-fallthrough
  # GCC 12 reports impossible memcpy overlaps inside std::string at -O2
  -Wno-restrict)
if(HAINBREM_WERROR)
  target_compile_options(hainbrem_flags INTERFACE -Werror)
endif()
if(HAINBREM_SANITIZER)
  target_compile_options(hainbrem_flags INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(hainbrem_flags INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all)
endif()
