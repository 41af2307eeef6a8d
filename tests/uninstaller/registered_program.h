#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "common/handles.h"

// An entry of another program in the list of installed programs. Removed with the object.
class RegisteredProgram {
public:
    // `view`: KEY_WOW64_64KEY or KEY_WOW64_32KEY.
    RegisteredProgram(HKEY root, const std::wstring& keyName, REGSAM view = KEY_WOW64_64KEY)
        : root_(root), view_(view), path_(kListPath + keyName) {
        HKEY key = nullptr;
        EXPECT_EQ(::RegCreateKeyExW(root, path_.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                    KEY_ALL_ACCESS | view, nullptr, &key, nullptr),
                  ERROR_SUCCESS);
        key_.reset(key);
    }
    ~RegisteredProgram() {
        ::RegDeleteKeyExW(root_, path_.c_str(), view_, 0);
    }
    RegisteredProgram(const RegisteredProgram&) = delete;
    RegisteredProgram& operator=(const RegisteredProgram&) = delete;

    void Store(const wchar_t* name, const std::wstring& text, DWORD type = REG_SZ) const {
        ::RegSetValueExW(key_.get(), name, 0, type, reinterpret_cast<const BYTE*>(text.c_str()),
                         static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    }

private:
    static constexpr wchar_t kListPath[] =
        L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\";

    HKEY root_;
    REGSAM view_;
    std::wstring path_;
    RegistryKey key_;
};
