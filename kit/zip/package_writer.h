#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "kit/output_file.h"
#include "kit/zip/client_listing.h"

// Writes the package: a ZIP file of the entries in their order, which depends on nothing but names,
// contents, times and level. Reads the files below `clientFolder` with up to `threads` threads.
// `onRead` is told on this thread how many more bytes of them are done.
//
// Throws OutsideFailure for a file that cannot be read or has changed since it was listed, and when
// the output cannot be written. The caller commits the output.
void WritePackage(const std::wstring& clientFolder, const std::vector<ClientEntry>& entries,
                  int level, unsigned threads, OutputFile& output,
                  const std::function<void(uint64_t moreBytes)>& onRead);
