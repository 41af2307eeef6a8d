#pragma once

#include <cstdint>
#include <memory>
#include <type_traits>

#include "package/http_download.h"
#include "package/winhttp_api.h"

// How the tool talks to download servers: its user agent, proxy, redirects and time limits.

struct CloseInternetHandle {
    void operator()(HINTERNET handle) const noexcept {
        ::WinHttpCloseHandle(handle);
    }
};
using InternetHandle = std::unique_ptr<std::remove_pointer_t<HINTERNET>, CloseInternetHandle>;

// Null, with the reason in ::GetLastError(), when it cannot be opened.
[[nodiscard]] InternetHandle OpenPackageSession();

// A GET of the address, not sent yet. Null, with the reason in ::GetLastError(), on failure.
[[nodiscard]] InternetHandle OpenPackageRequest(const InternetHandle& connection,
                                                const PackageAddress& address);

// The status of a request whose response has arrived; 0 if it cannot be read.
[[nodiscard]] uint32_t QueryHttpStatus(const InternetHandle& request);
