#include "kit/findings.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace {

constexpr size_t kListedOfRule = 20;

size_t IndexOf(Severity severity) {
    return static_cast<size_t>(severity);
}

}  // namespace

Place ConfigLine(uint64_t line) {
    return {Place::Part::Configuration, line, "config.txt:" + std::to_string(line)};
}

Place ConfigMissing() {
    return {Place::Part::Configuration, 0, "config.txt"};
}

Place BrandFile(std::string_view name) {
    return {Place::Part::BrandFile, 0, std::string(name)};
}

Place PackageFile(std::string_view name) {
    return {Place::Part::Package, 0, std::string(name)};
}

Place PackageEntry(std::string_view name) {
    return {Place::Part::Entry, 0, std::string(name)};
}

Place UrlPlace(std::string_view url) {
    return {Place::Part::Url, 0, std::string(url)};
}

void Findings::Add(RuleName rule, Place place, std::string message, std::string hint) {
    Add(rule, rule->severity, std::move(place), std::move(message), std::move(hint));
}

void Findings::Add(RuleName rule, Severity severity, Place place, std::string message,
                   std::string hint) {
    Count(rule, severity);
    Kept kept{{rule, severity, std::move(place), std::move(message), std::move(hint)}, added_++};
    std::vector<Kept>& first = rules_[rule.Index()].first;
    if (first.size() > kListedOfRule) {
        if (!IsBefore(kept, first.front())) {
            return;
        }
        std::pop_heap(first.begin(), first.end(), IsBefore);
        first.pop_back();
    }
    first.push_back(std::move(kept));
    std::push_heap(first.begin(), first.end(), IsBefore);
}

bool Findings::MayList(RuleName rule, std::string_view entryName) const {
    const auto found = rules_.find(rule.Index());
    if (found == rules_.end() || found->second.first.size() <= kListedOfRule) {
        return true;
    }
    const Place& last = found->second.first.front().finding.place;
    return last.part == Place::Part::Entry ? entryName < last.text : Place::Part::Entry < last.part;
}

void Findings::Count(RuleName rule, Severity severity) {
    OfRule& ofRule = rules_[rule.Index()];
    ++ofRule.count;
    ++ofRule.countOf[IndexOf(severity)];
    ++countOf_[IndexOf(severity)];
}

uint64_t Findings::Count(Severity severity) const {
    return countOf_[IndexOf(severity)];
}

uint64_t Findings::Count(RuleName rule) const {
    const auto found = rules_.find(rule.Index());
    return found == rules_.end() ? 0 : found->second.count;
}

std::vector<Finding> Findings::List() const {
    std::vector<Kept> listed;
    for (const auto& [index, rule] : rules_) {
        std::vector<Kept> first = rule.first;
        std::sort(first.begin(), first.end(), IsBefore);
        if (first.size() > kListedOfRule) {
            first.back().finding = LeftOut(rule, first);
        }
        listed.insert(listed.end(), first.begin(), first.end());
    }
    std::sort(listed.begin(), listed.end(), IsBefore);
    std::vector<Finding> findings;
    findings.reserve(listed.size());
    for (Kept& kept : listed) {
        findings.push_back(std::move(kept.finding));
    }
    return findings;
}

bool Findings::IsBefore(const Kept& left, const Kept& right) {
    const auto key = [](const Kept& kept) {
        const Place& place = kept.finding.place;
        // Only entries are ordered by their names; the others keep the order of their lists.
        const std::string_view name =
            place.part == Place::Part::Entry ? std::string_view(place.text) : std::string_view();
        return std::make_tuple(place.part, place.line, name, kept.sequence);
    };
    return key(left) < key(right);
}

// `rule` has more findings than are listed.
Finding Findings::LeftOut(const OfRule& rule, const std::vector<Kept>& sorted) {
    uint64_t countOf[3] = {rule.countOf[0], rule.countOf[1], rule.countOf[2]};
    for (size_t i = 0; i < kListedOfRule; ++i) {
        --countOf[IndexOf(sorted[i].finding.severity)];
    }
    Finding finding = sorted.back().finding;
    finding.severity = countOf[IndexOf(Severity::Error)] > 0     ? Severity::Error
                       : countOf[IndexOf(Severity::Warning)] > 0 ? Severity::Warning
                                                                 : Severity::Note;
    const uint64_t leftOut = rule.count - kListedOfRule;
    finding.message = "There are " + std::to_string(rule.count) + " findings of this rule; " +
                      std::to_string(leftOut) + (leftOut == 1 ? " is" : " are") +
                      " left out from here on.";
    finding.hint = "Fix the listed ones, then check again.";
    return finding;
}
