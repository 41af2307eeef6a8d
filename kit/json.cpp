#include "kit/json.h"

#include "kit/utf8.h"

std::string JsonText(const Json& document) {
    constexpr int kIndent = 2;
    const std::string text =
        document.dump(kIndent, ' ', false, nlohmann::json::error_handler_t::replace);
    std::string safe;
    safe.reserve(text.size() + 1);
    std::string_view rest = text;
    while (!rest.empty()) {
        const size_t end = rest.find('\n');
        // Control characters occur in strings only, where the escapes mean the same in JSON: those
        // that the library leaves as they are get four digits.
        safe += EscapeForJson(rest.substr(0, end));
        safe += '\n';
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    }
    return safe;
}
