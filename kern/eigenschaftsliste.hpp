#pragma once
// Read-only access to property lists (XML or binary) through libplist.
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace hainbrem {

// A view of one node; empty views answer every question with "nothing".
class PlistKnoten {
public:
    PlistKnoten() = default;
    explicit PlistKnoten(void* knoten) : k_(knoten) {}

    bool leer() const { return k_ == nullptr; }
    bool istDict() const;
    bool istListe() const;
    PlistKnoten feld(std::string_view schluessel) const;  // dictionary member
    size_t anzahl() const;                                // list length
    PlistKnoten element(size_t i) const;                  // list member
    std::optional<std::string> text() const;
    std::optional<int64_t> zahl() const;  // integers (and reals, truncated)
    std::optional<bool> wahrheit() const;

private:
    void* k_ = nullptr;
};

class Eigenschaftsliste {
public:
    static std::optional<Eigenschaftsliste> ausSpeicher(std::string_view daten);
    // Regular files up to maxDateiGroesse only; anything else (pipes, devices, huge files) is nothing.
    static std::optional<Eigenschaftsliste> ausDatei(const std::filesystem::path& pfad);
    static constexpr int64_t maxDateiGroesse = 16 * 1024 * 1024;
    PlistKnoten wurzel() const { return PlistKnoten(wurzel_.get()); }

private:
    struct Freigabe {
        void operator()(void* p) const;
    };
    std::unique_ptr<void, Freigabe> wurzel_;
};

}  // namespace hainbrem
