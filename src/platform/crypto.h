// Encryption of the few secrets a repository keeps (pool and directory
// passwords, the internal account's name), and the digests used elsewhere.
//
// Text form of an encrypted value:
//   "AES256 " + base64( version(1) | salt(16) | iv(12) | ciphertext | tag(16) )
// AES-256-GCM, a fresh random IV per text, version and salt authenticated as
// associated data. The blank after the tag is what callers test to tell an
// encrypted text from a hexadecimal one. The salt travels with the text, so a
// holder of the password alone can re-derive the key; a wrong key or a
// damaged text fails the tag check instead of giving garbage.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/vxstring.h"

namespace qorl::crypto {

// Cryptographically strong random bytes; throws std::runtime_error when the
// generator cannot deliver.
ByteVector RandomBytes(size_t n);

struct AESKey {
  std::array<uint8_t, 32> key{};
  std::array<uint8_t, 16> salt{};
  friend bool operator==(const AESKey&, const AESKey&) = default;
};

// PBKDF2-HMAC-SHA1 over the UTF-8 bytes of the password. Changing it makes
// every stored secret unreadable.
constexpr int kPBKDF2Iterations = 50000;
// Derived keys are cached process-wide (keyed by a SHA-256 of salt and
// password, never the password itself), so that a load decrypting many texts
// under one password derives once. Least recently used entries go first.
constexpr size_t kKeyCacheCapacity = 64;

AESKey DeriveKey(const VXString& password, const std::array<uint8_t, 16>& salt);
// A fresh random salt and the key derived from it.
AESKey NewKey(const VXString& password);

VXString EncryptToText(const AESKey& key, const ByteVector& clear);
// False, with `clear` emptied, for a text without the "AES256 " prefix, bad
// base64, an unknown version, a salt other than key.salt, or a failed tag
// check.
bool DecryptText(const AESKey& key, const VXString& text, ByteVector& clear);
// Reads the salt from the text and derives the key (through the cache).
bool DecryptTextWithPassword(const VXString& password, const VXString& text, ByteVector& clear);
// The salt of a well-formed text of the current version.
bool ReadSalt(const VXString& text, std::array<uint8_t, 16>& salt);

// Key check of a repository: the UTF-8 bytes of the text form of a fixed
// known clear text, encrypted with the repository's key. It proves a key (or
// a password, through VerifyPasswordWithKeyCheck) right without holding the
// key itself.
ByteVector MakeKeyCheck(const AESKey& key);
bool VerifyKeyCheck(const AESKey& key, const ByteVector& check);
// Derives the key from the password and the salt inside the check; true and
// `key` set when the check decrypts to the known text.
bool VerifyPasswordWithKeyCheck(const VXString& password, const ByteVector& check, AESKey& key);

// Standard alphabet with '=' padding. Decoding is strict: whole quads only,
// no blanks or line breaks, padding only at the end, unused bits zero. On
// failure `out` is emptied.
std::string Base64Encode(const uint8_t* data, size_t n);
bool Base64Decode(std::string_view text, ByteVector& out);

// Lower-case hexadecimal digests.
VXString MD5Hex(const ByteVector& data);
VXString SHA256Hex(const ByteVector& data);

namespace detail {
// How many times the slow derivation actually ran in this process; lets tests
// see the cache at work without timing it.
size_t KeyDerivationCount();
}  // namespace detail

}  // namespace qorl::crypto
