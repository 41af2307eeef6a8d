#pragma once

#include <functional>
#include <string>

#include "bench_parts/import_hook.h"
#include "common/windows_api.h"

// Standing between the program under test and the system: to see its state at a certain moment, and
// to let happen what cannot be brought about from outside. Each kind at most once at a time. A
// handler that returns anything but ERROR_SUCCESS makes the call fail with that error.

namespace bench {

// Before each CopyFileW.
class CopyHook {
public:
    using Handler = std::function<DWORD(const std::wstring& source, const std::wstring& target)>;
    explicit CopyHook(Handler handler);

private:
    ImportHook hook_;
};

// Before each CreateFileW.
class OpenHook {
public:
    using Handler = std::function<DWORD(const std::wstring& path)>;
    explicit OpenHook(Handler handler);

private:
    ImportHook hook_;
};

// Before each GetFileAttributesExW.
class LookHook {
public:
    using Handler = std::function<DWORD(const std::wstring& path)>;
    explicit LookHook(Handler handler);

private:
    ImportHook hook_;
};

// Before each ReadFile; the handler may make the read shorter.
class ReadHook {
public:
    using Handler = std::function<DWORD(HANDLE file, DWORD& byteCount)>;
    explicit ReadHook(Handler handler);

private:
    ImportHook hook_;
};

// After each entry that FindFirstFileExW or FindNextFileW has found; the handler may change it. An
// error counts for FindNextFileW only.
class ListingHook {
public:
    using Handler = std::function<DWORD(WIN32_FIND_DATAW& entry)>;
    explicit ListingHook(Handler handler);

private:
    ImportHook firstHook_;
    ImportHook nextHook_;
};

}  // namespace bench
