#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

// A pattern for names in a package, as --exclude takes it. Letter case does not matter. `*`
// matches any characters but slashes, `?` any one of them; `**` also matches slashes, and "**/" at
// the beginning of a component also nothing. A pattern without a slash, or with one at its end
// only, matches names at any depth. One that matches a folder matches its content.
class NamePattern {
public:
    // Valid UTF-8. Backslashes count as slashes; slashes at either end are left out.
    explicit NamePattern(std::string_view pattern);

    // `foldedName` comes from FoldCase; it may end in a slash. One thread at a time.
    [[nodiscard]] bool Fits(std::string_view foldedName);

private:
    enum class Kind { Byte, AnyOne, AnyInComponent, Any, AnyFolders };
    struct Token {
        Kind kind = Kind::Byte;
        char byte = 0;
    };
    // For each token whether the name so far fits all tokens before it; one more for all tokens.
    using States = std::vector<char>;

    void AddStars(Kind kind);
    void Enter(size_t token, States& states) const;
    void Step(char byte);

    std::vector<Token> tokens_;
    bool hasSlash_ = false;
    States states_;
    States next_;
};
