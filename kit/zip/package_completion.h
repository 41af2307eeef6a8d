#pragma once

#include <string>

#include "kit/console.h"
#include "kit/output_file.h"

// Puts the finished package in its place and then, unless `config` is empty, sets archiveSha256 in
// that config.txt. Throws OutsideFailure; when the package is in its place by then, the message
// gives the digest, and so does the message of an interruption (exit code OutsideFailure). The
// console must live as long as the process can be interrupted.
void CompletePackage(OutputFile& package, const std::string& digest, const std::wstring& config,
                     Console& console);
