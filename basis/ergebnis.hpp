#pragma once
// A value or a German reason why there is none. The project builds as C++20, so this stands in
// for std::expected<T, std::string> with just the operations the code uses; the names follow
// std::expected (`error()`) so a later switch is a search and replace.
#include <cassert>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

namespace hainbrem {

// What a failed step returns: `return Fehlschlag{"Kein gültiger Pfad"};`
struct Fehlschlag {
    std::string grund;
};

template <class T>
class Ergebnis {
    using Wert = std::conditional_t<std::is_void_v<T>, std::monostate, T>;

public:
    Ergebnis() requires std::is_void_v<T> = default;  // success without a value: `return {};`
    Ergebnis(Wert wert) requires(!std::is_void_v<T>) : inhalt_(std::move(wert)) {}
    Ergebnis(Fehlschlag fehler) : inhalt_(std::move(fehler)) {}

    explicit operator bool() const { return inhalt_.index() == 0; }

    template <class U = T>
        requires(!std::is_void_v<U>)
    U& operator*() {
        assert(*this);
        return std::get<0>(inhalt_);
    }
    template <class U = T>
        requires(!std::is_void_v<U>)
    const U& operator*() const {
        assert(*this);
        return std::get<0>(inhalt_);
    }
    template <class U = T>
        requires(!std::is_void_v<U>)
    U* operator->() {
        return &**this;
    }
    template <class U = T>
        requires(!std::is_void_v<U>)
    const U* operator->() const {
        return &**this;
    }

    const std::string& error() const {
        assert(!*this);
        return std::get<1>(inhalt_).grund;
    }

private:
    std::variant<Wert, Fehlschlag> inhalt_;
};

}  // namespace hainbrem
