#pragma once

#include <string>

// A byte count such as "512 B", "1.0 KB" or "3.4 MB", up to TB, in units of 1024. One decimal,
// except for plain bytes.
std::wstring FormatByteCount(double bytes);

// A download speed such as "3.4 MB/s"; "0 MB/s" unless it is positive.
std::wstring FormatSpeed(double bytesPerSecond);
