#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "common/handles.h"
#include "common/resources.h"

// An exe mapped into memory as the loader does it: its headers and resources can be read, none of
// its code runs.
class BuiltExe {
public:
    explicit BuiltExe(const std::filesystem::path& path)
        : path_(std::filesystem::path(path).make_preferred()),
          module_(::LoadLibraryExW(path_.c_str(), nullptr,
                                   LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE)) {
        EXPECT_NE(module_, nullptr) << path_;
        DWORD ignored = 0;
        version_.resize(::GetFileVersionInfoSizeW(path_.c_str(), &ignored));
        EXPECT_TRUE(::GetFileVersionInfoW(path_.c_str(), 0, static_cast<DWORD>(version_.size()),
                                          version_.data()));
    }
    ~BuiltExe() {
        ::FreeLibrary(module_);
    }
    BuiltExe(const BuiltExe&) = delete;
    BuiltExe& operator=(const BuiltExe&) = delete;

    template <class T>
    [[nodiscard]] const T* At(size_t address) const {
        // The low bits of the handle mark a module that is mapped as data.
        const size_t base = reinterpret_cast<size_t>(module_) & ~size_t{3};
        // NOLINTNEXTLINE(performance-no-int-to-ptr)
        return reinterpret_cast<const T*>(base + address);
    }

    [[nodiscard]] const IMAGE_NT_HEADERS64& Headers() const {
        return *At<IMAGE_NT_HEADERS64>(static_cast<size_t>(At<IMAGE_DOS_HEADER>(0)->e_lfanew));
    }

    [[nodiscard]] DWORD DirectoryAddress(size_t index) const {
        return Headers().OptionalHeader.DataDirectory[index].VirtualAddress;
    }

    [[nodiscard]] std::string_view Resource(const wchar_t* type, int id) const {
        const HRSRC entry = ::FindResourceW(module_, MAKEINTRESOURCEW(id), type);
        if (entry == nullptr) {
            return {};
        }
        return {static_cast<const char*>(::LockResource(::LoadResource(module_, entry))),
                ::SizeofResource(module_, entry)};
    }

    [[nodiscard]] std::string_view Data(int id) const {
        const auto bytes = EmbeddedData(module_, id);
        return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
    }

    [[nodiscard]] std::string_view Manifest() const {
        return Resource(RT_MANIFEST, 1);
    }

    // A text of the version resource by language, code page and name: "040904B0\\ProductName".
    [[nodiscard]] std::wstring VersionText(const std::wstring& name) const {
        void* text = nullptr;
        UINT length = 0;
        return ::VerQueryValueW(version_.data(), (L"\\StringFileInfo\\" + name).c_str(), &text,
                                &length)
                   ? static_cast<const wchar_t*>(text)
                   : L"(missing)";
    }

    [[nodiscard]] VS_FIXEDFILEINFO VersionNumbers() const {
        void* numbers = nullptr;
        UINT length = 0;
        EXPECT_TRUE(::VerQueryValueW(version_.data(), L"\\", &numbers, &length));
        return numbers == nullptr ? VS_FIXEDFILEINFO{} : *static_cast<VS_FIXEDFILEINFO*>(numbers);
    }

private:
    std::filesystem::path path_;
    HMODULE module_;
    std::vector<char> version_;
};
