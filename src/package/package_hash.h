#pragma once

#include <filesystem>
#include <string>
#include <string_view>

// The SHA-256 check of the downloaded package. All of it blocks for the whole read and does not
// look at the stop flag. Job thread.

// The job's stage between download and extraction. Expects the downloaded file and leaves it where
// it is. Without a configured digest it succeeds and publishes nothing; else it publishes the
// stage. False when the digest cannot be computed or differs, after reportFailure.
[[nodiscard]] bool VerifyPackage(const std::filesystem::path& archivePath);

// SHA-256 of the file as 64 lower-case hexadecimal digits. Reads in pieces of 1 MiB, so memory use
// does not grow with the file. False when the file cannot be opened or read or a hash call fails;
// the caller words the message, `hex` is then empty.
[[nodiscard]] bool ComputeFileSha256(const std::filesystem::path& path, std::wstring& hex);

// Only the hexadecimal digits 0-9, a-f and A-F of the text, in lower case: digests grouped with
// blanks, colons or dashes compare equal. A "sha256:" in front is no digest: its "a" and "256"
// stay, so it never matches.
std::wstring NormalizeHexDigest(std::wstring_view text);
