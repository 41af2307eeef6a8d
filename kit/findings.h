#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "kit/rules.h"

// Where a finding is. The parts are in the order in which findings are listed.
struct Place {
    enum class Part { Configuration, BrandFile, Package, Entry, Url };

    Part part = Part::Configuration;
    uint64_t line = 0;  // Of the configuration; 0 for what is missing there.
    std::string text;   // As it is shown, UTF-8; entries are ordered by it.
};

// "config.txt:12"; lines count from 1.
Place ConfigLine(uint64_t line);
// "config.txt", for what is missing there.
Place ConfigMissing();
// A file of the brand: "logo.png".
Place BrandFile(std::string_view name);
// The package's file name.
Place PackageFile(std::string_view name);
// An entry of the package, with slashes. `name` may hold any bytes.
Place PackageEntry(std::string_view name);
// An address.
Place UrlPlace(std::string_view url);

struct Finding {
    RuleName rule;
    Severity severity = Severity::Note;
    Place place;
    std::string message;  // A sentence that says what is wrong.
    std::string hint;     // A sentence that says what to do.
};

struct FindingText {
    std::string message;
    std::string hint;
};

// Collects findings. Keeps only the first ones of each rule by place, so that memory stays bounded
// however many there are. UTF-8 throughout; bytes that are none are allowed and shown escaped. One
// thread at a time.
class Findings {
public:
    // With the rule's usual severity.
    void Add(RuleName rule, Place place, std::string message, std::string hint);
    void Add(RuleName rule, Severity severity, Place place, std::string message, std::string hint);

    // The same at an entry of the package, of which there can be millions. `makeText` gives a
    // FindingText; it is called only if the finding may be listed.
    template <typename MakeText>
    void AddAtEntry(RuleName rule, std::string_view name, const MakeText& makeText) {
        if (MayList(rule, name)) {
            FindingText text = makeText();
            Add(rule, PackageEntry(name), std::move(text.message), std::move(text.hint));
        } else {
            Count(rule, rule->severity);
        }
    }

    // All findings of this severity, also those that List leaves out.
    [[nodiscard]] uint64_t Count(Severity severity) const;

    // All findings of this rule, also those that List leaves out.
    [[nodiscard]] uint64_t Count(RuleName rule) const;

    // In the order of the places: the configuration by line (what is missing there first), the
    // brand's files, the package, its entries by the bytes of their names, addresses. At most 20 of
    // a rule; one more of the same rule, at the place of the first that is left out and with the
    // worst severity of those, says how many there are.
    [[nodiscard]] std::vector<Finding> List() const;

private:
    struct Kept {
        Finding finding;
        uint64_t sequence = 0;  // Findings at one place keep the order in which they were added.
    };
    struct OfRule {
        // The first by place, those that are listed and the next one: a heap with the last on top.
        std::vector<Kept> first;
        uint64_t count = 0;
        uint64_t countOf[3] = {};  // By severity.
    };

    static bool IsBefore(const Kept& left, const Kept& right);
    static Finding LeftOut(const OfRule& rule, const std::vector<Kept>& sorted);
    [[nodiscard]] bool MayList(RuleName rule, std::string_view entryName) const;
    void Count(RuleName rule, Severity severity);

    std::map<size_t, OfRule> rules_;  // By the rule's index.
    uint64_t added_ = 0;
    uint64_t countOf_[3] = {};  // By severity.
};
