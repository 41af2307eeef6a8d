#include "kit/zip/name_pattern.h"

#include <algorithm>
#include <string>

#include "kit/zip/entry_name.h"

namespace {

bool ContinuesCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

std::string_view WithoutOuterSlashes(std::string_view text) {
    const size_t first = text.find_first_not_of('/');
    return first == std::string_view::npos
               ? std::string_view()
               : text.substr(first, text.find_last_not_of('/') - first + 1);
}

}  // namespace

NamePattern::NamePattern(std::string_view pattern) {
    std::string folded = FoldCase(pattern);
    std::replace(folded.begin(), folded.end(), '\\', '/');
    const std::string_view text = WithoutOuterSlashes(folded);
    // One at the beginning ties the pattern to the top; one at the end only says "folder".
    hasSlash_ = folded.starts_with('/') || text.find('/') != std::string_view::npos;
    for (size_t i = 0; i < text.size();) {
        const std::string_view rest = text.substr(i);
        const size_t stars = std::min(rest.find_first_not_of('*'), rest.size());
        const bool beginsComponent = i == 0 || text[i - 1] == '/';
        if (stars > 1 && beginsComponent && rest.substr(stars).starts_with('/')) {
            AddStars(Kind::AnyFolders);
            i += stars + 1;
        } else if (stars > 0) {
            AddStars(stars > 1 ? Kind::Any : Kind::AnyInComponent);
            i += stars;
        } else {
            tokens_.push_back({rest[0] == '?' ? Kind::AnyOne : Kind::Byte, rest[0]});
            ++i;
        }
    }
    states_.resize(tokens_.size() + 1);
    next_.resize(tokens_.size() + 1);
}

// Several in a row mean the same as one, and would take far longer.
void NamePattern::AddStars(Kind kind) {
    if (tokens_.empty() || tokens_.back().kind != kind) {
        tokens_.push_back({kind});
    }
}

// All ways to match are followed at once, so no pattern takes longer than its length times the
// name's.
bool NamePattern::Fits(std::string_view foldedName) {
    if (tokens_.empty()) {
        return false;
    }
    std::fill(states_.begin(), states_.end(), char{0});
    Enter(0, states_);
    for (const char byte : foldedName) {
        if (byte == '/' && states_.back() != 0) {
            return true;
        }
        Step(byte);
        if (byte == '/' && !hasSlash_) {
            Enter(0, states_);
        }
    }
    return states_.back() != 0;
}

void NamePattern::Enter(size_t token, States& states) const {
    states[token] = 1;
    if (token < tokens_.size() && tokens_[token].kind != Kind::Byte &&
        tokens_[token].kind != Kind::AnyOne) {
        Enter(token + 1, states);  // It can match nothing.
    }
}

void NamePattern::Step(char byte) {
    std::fill(next_.begin(), next_.end(), char{0});
    for (size_t i = 0; i < states_.size(); ++i) {
        if (states_[i] == 0) {
            continue;
        }
        if (ContinuesCharacter(byte) && i > 0 && tokens_[i - 1].kind == Kind::AnyOne) {
            next_[i] = 1;
        }
        if (i == tokens_.size()) {
            continue;
        }
        const Token& token = tokens_[i];
        switch (token.kind) {
            case Kind::Byte:
                if (token.byte == byte) {
                    Enter(i + 1, next_);
                }
                break;
            case Kind::AnyOne:
                if (byte != '/' && !ContinuesCharacter(byte)) {
                    Enter(i + 1, next_);
                }
                break;
            case Kind::AnyInComponent:
                if (byte != '/') {
                    Enter(i, next_);
                }
                break;
            case Kind::Any:
                Enter(i, next_);
                break;
            case Kind::AnyFolders:
                next_[i] = 1;  // It ends only behind a slash.
                if (byte == '/') {
                    Enter(i + 1, next_);
                }
                break;
        }
    }
    states_.swap(next_);
}
