#pragma once

#include <string>

// A byte count as "512 B", "1.0 KB", "3.4 MB" and so on up to TB: divided by 1024 while it is at
// least 1024, at most four times; no decimals without a division, one with.
std::wstring FormatByteCount(double bytes);

// A download speed as the window shows it, "3.4 MB/s"; "0 MB/s" when nothing comes in.
std::wstring FormatSpeed(double bytesPerSecond);
