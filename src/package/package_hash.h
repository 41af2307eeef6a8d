#pragma once

#include <string>
#include <string_view>

// The SHA-256 check of the downloaded package. Job thread; blocks while the whole file is read and
// does not check the cancel flag.

// The job's stage between download and extraction. Expects the downloaded file and leaves it in
// place. Without a configured digest it succeeds and publishes nothing. False after a report when
// the digest cannot be computed or differs.
[[nodiscard]] bool VerifyPackage(const std::wstring& archivePath);

// The SHA-256 of the file as 64 lower-case hexadecimal digits. Reads in chunks of 1 MiB, so memory
// use does not grow with the file. False, with `hex` empty, when the file cannot be opened or read
// or a hash call fails; the caller words the message.
[[nodiscard]] bool ComputeFileSha256(const std::wstring& path, std::wstring& hex);

// The hexadecimal digits 0-9, a-f and A-F of the text, in lower case, so that digests grouped with
// blanks, colons or dashes compare equal. A text with the prefix "sha256:" never matches: the
// prefix's "a" and "256" stay.
std::wstring NormalizeHexDigest(std::wstring_view text);
