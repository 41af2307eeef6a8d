#include "convergence/kill_points.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <initializer_list>
#include <string_view>
#include <utility>

#include "bench_parts/utf8.h"

namespace {

std::string NameOf(Phase phase) {
    return bench::ToUtf8(kPhaseNames[static_cast<size_t>(phase)]);
}

bool IsOneOf(std::initializer_list<std::wstring_view> names, std::wstring_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

// Whether a call of the function leaves something behind.
bool IsChange(std::wstring_view function) {
    return IsOneOf({L"CopyFileW", L"CreateDirectoryW", L"CreateProcessW", L"DeleteFileW",
                    L"MoveFileExW", L"RegCreateKeyExW", L"RegSetValueExW", L"RemoveDirectoryW",
                    L"SetFileInformationByHandle", L"SetFileTime", L"WriteFile"},
                   function);
}

Intervention DeathFor(std::wstring_view function, unsigned choice) {
    constexpr std::array kDeaths{Intervention::DieBefore, Intervention::DieAfter,
                                 Intervention::DieHalfWay, Intervention::DieStretched};
    const bool knowsHalf = IsOneOf({L"CopyFileW", L"WriteFile"}, function);
    return kDeaths[choice % (knowsHalf ? kDeaths.size() : 2)];
}

}  // namespace

std::string Description(const Strike& strike) {
    return bench::ToUtf8(kInterventionNames[static_cast<size_t>(strike.intervention)]) + " in " +
           NameOf(strike.phase) + ", " + bench::ToUtf8(strike.function) + " " +
           std::to_string(strike.number);
}

KillPoints::KillPoints(PhaseCalls calls, unsigned seed) : calls_(std::move(calls)), random_(seed) {
    for (const auto& [phase, functions] : calls_) {
        turns_.push_back(phase);
    }
    turns_.push_back(Phase::Copying);
    if (calls_.contains(Phase::CleanOut)) {
        turns_.push_back(Phase::CleanOut);
    }
    turn_ = Below(turns_.size());
}

Strike KillPoints::Next() {
    const Phase phase = turns_[turn_++ % turns_.size()];
    ++spread_[phase];
    const std::vector<std::wstring> functions = FunctionsOf(phase);
    const std::wstring& function = functions[Below(functions.size())];
    const unsigned number = Below(calls_.at(phase).at(function)) + 1;
    return {DeathFor(function, Below(4)), phase, function, number};
}

void KillPoints::PrintSpread() const {
    for (const auto& [phase, number] : spread_) {
        std::printf("  %u in %s\n", number, NameOf(phase).c_str());
    }
}

// Not a distribution of the standard library, for these differ from one library to the next.
unsigned KillPoints::Below(size_t limit) {
    return static_cast<unsigned>(random_() % limit);
}

// Functions, not calls, are equally likely, or the few calls that copy and delete would hardly be
// met among the many that look; mostly it is one that changes something.
std::vector<std::wstring> KillPoints::FunctionsOf(Phase phase) {
    const bool wantsChange = Below(3) != 0;
    std::vector<std::wstring> all;
    std::vector<std::wstring> changes;
    for (const auto& [function, number] : calls_.at(phase)) {
        all.push_back(function);
        if (IsChange(function)) {
            changes.push_back(function);
        }
    }
    return wantsChange && !changes.empty() ? changes : all;
}
