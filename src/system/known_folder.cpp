#include "system/known_folder.h"

#include "common/handles.h"

std::wstring KnownFolder(const KNOWNFOLDERID& id, DWORD flags) {
    wchar_t* text = nullptr;
    const HRESULT result = ::SHGetKnownFolderPath(id, flags, nullptr, &text);
    // Must be freed even if the call fails.
    const TaskMemoryText folder(text);
    return SUCCEEDED(result) && folder ? std::wstring(folder.get()) : std::wstring();
}
