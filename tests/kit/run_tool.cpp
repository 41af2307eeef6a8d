// run_tool TOOL: starts the tool, waits for its window, prints the window's title and ends the
// tool.

#include <cstdio>

#include "bench_parts/utf8.h"
#include "bench_parts/waiting.h"
#include "common/handles.h"

namespace {

constexpr int kNoWindow = 1;
constexpr int kNotStarted = 2;

HWND WindowOf(DWORD processId) {
    HWND window = nullptr;
    while ((window = ::FindWindowExW(nullptr, window, L"Quellstone.RepairTool", nullptr))) {
        DWORD owner = 0;
        ::GetWindowThreadProcessId(window, &owner);
        if (owner == processId && ::IsWindowVisible(window)) {
            return window;
        }
    }
    return nullptr;
}

}  // namespace

int wmain(int, wchar_t** arguments) {
    std::wstring command = L"\"" + std::wstring(arguments[1]) + L"\"";
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started{};
    if (!::CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                          &startup, &started)) {
        return kNotStarted;
    }
    const KernelHandle thread(started.hThread);
    const KernelHandle process(started.hProcess);
    const HWND window = bench::Await([&] { return WindowOf(started.dwProcessId); });
    std::wstring title(256, L'\0');
    title.resize(static_cast<size_t>(
        ::GetWindowTextW(window, title.data(), static_cast<int>(title.size()))));
    std::puts(bench::ToUtf8(title).c_str());
    ::TerminateProcess(process.get(), 0);
    ::WaitForSingleObject(process.get(), INFINITE);
    return window == nullptr ? kNoWindow : 0;
}
