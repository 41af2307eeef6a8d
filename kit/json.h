#pragma once

#include <string>

// Only values in memory: no streams.
#define JSON_NO_IO
#include <nlohmann/json.hpp>

// Keeps the order in which members are added. Texts are UTF-8.
using Json = nlohmann::ordered_json;

// The document as UTF-8 text with one final line feed. Bytes that are no UTF-8 become U+FFFD, and
// characters that could confuse a console become \uXXXX. Never throws for any content.
std::string JsonText(const Json& document);
