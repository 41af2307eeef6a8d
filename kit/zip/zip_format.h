#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

// The records of a ZIP file, as the published application note describes them. All numbers are
// little-endian.

inline constexpr uint32_t kLocalHeaderSignature = 0x04034B50;
inline constexpr uint32_t kDirectoryHeaderSignature = 0x02014B50;
inline constexpr uint32_t kEndSignature = 0x06054B50;
inline constexpr uint32_t kZip64EndSignature = 0x06064B50;
inline constexpr uint32_t kZip64LocatorSignature = 0x07064B50;
inline constexpr uint32_t kDescriptorSignature = 0x08074B50;
inline constexpr uint32_t kDirectorySignatureSignature = 0x05054B50;

// Without the parts of variable length.
inline constexpr size_t kLocalHeaderBytes = 30;
inline constexpr size_t kDirectoryHeaderBytes = 46;
inline constexpr size_t kEndBytes = 22;
inline constexpr size_t kZip64EndBytes = 56;
inline constexpr size_t kZip64LocatorBytes = 20;

// A field with this value has its number in the ZIP64 extra field or end record.
inline constexpr uint16_t kSeeZip64U16 = 0xFFFF;
inline constexpr uint32_t kSeeZip64U32 = 0xFFFFFFFF;

inline constexpr uint16_t kZip64ExtraId = 0x0001;
inline constexpr uint16_t kTimeExtraId = 0x5455;  // "UT", the extended time stamp.

inline constexpr uint16_t kEncryptedFlag = 0x0001;
inline constexpr uint16_t kDescriptorFlag = 0x0008;
inline constexpr uint16_t kStrongEncryptionFlag = 0x0040;
inline constexpr uint16_t kUtf8Flag = 0x0800;
inline constexpr uint16_t kMaskedHeaderFlag = 0x2000;

inline constexpr uint16_t kStoredMethod = 0;
inline constexpr uint16_t kDeflateMethod = 8;
inline constexpr uint16_t kAesMethod = 99;

// The system that the upper 16 bits of the external attributes belong to.
inline constexpr uint8_t kUnixHost = 3;
inline constexpr uint8_t kMacHost = 19;

inline constexpr uint32_t kReadOnlyAttribute = 0x01;
inline constexpr uint32_t kHiddenAttribute = 0x02;
inline constexpr uint32_t kFolderAttribute = 0x10;
