// Encryption of the few secrets a repository keeps (pool and directory
// passwords, the internal account's name), and the digests used elsewhere.
//
// Text form of an encrypted value:
//   "AES256 " + base64( 2 | iterations(4, big-endian) | salt(16) | iv(12) | ciphertext | tag(16) )
// The blank after the prefix is what callers test to tell an encrypted text
// from a hexadecimal one.
//
// Key: PBKDF2-HMAC-SHA256 over the UTF-8 password with the text's salt and
// count gives a master key; HKDF-SHA256 splits it into a cipher key and an IV
// key under distinct labels, so the IV's hash and the cipher never share one.
// Salt and count travel with the text, so the password alone re-derives the
// key: a document moves to any repository that knows the password.
//
// Cipher: AES-256-GCM over the secret padded to a multiple of kPadBlock bytes
// (0x80, then zeros), so a text shows only which block the length falls in.
// Version, count and salt are authenticated as associated data; a wrong key
// or a damaged text fails the tag check instead of giving garbage.
//
// IV: synthetic, a keyed hash (IV key) of header, context and secret. The
// same secret in the same place under the same key always gives the same
// text, so documents under version control do not change each time they are
// written; the context (the owning object and property) keeps equal secrets
// in different places from showing as equal texts.
//
// Version 1 texts (PBKDF2-HMAC-SHA1 at 50,000 iterations, one key for both
// jobs, no padding, no count) are still read, never written.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/vxstring.h"

namespace qorl::crypto {

// Cryptographically strong random bytes; throws std::runtime_error when the
// generator cannot deliver.
ByteVector RandomBytes(size_t n);

using Salt = std::array<uint8_t, 16>;
using KeyBytes = std::array<uint8_t, 32>;

struct AESKey {
  uint32_t iterations = 0;
  Salt salt{};
  KeyBytes cipherKey{};
  KeyBytes ivKey{};
  // Only for a repository whose key check is of version 1: the key of its
  // version 1 texts (same salt), which are read but never written.
  std::optional<KeyBytes> legacyKey;
  friend bool operator==(const AESKey&, const AESKey&) = default;
};

// Iterations a new key gets. A repository keeps its count in its key check
// and each text in its header, so raising this later leaves every existing
// repository and document readable.
constexpr uint32_t kDefaultIterations = 600000;
// Counts read from a text or key check beyond this are refused: a hostile
// document must not buy seconds of derivation with one attribute. Room above
// the default for raising it later.
constexpr uint32_t kMaxIterations = 2000000;
// Secrets are padded to a multiple of this many bytes.
constexpr size_t kPadBlock = 32;
// Derived keys are cached process-wide (keyed by a SHA-256 of derivation,
// count, salt and password, never the password itself), so that a load
// decrypting many texts under one password derives once. Least recently used
// entries go first.
constexpr size_t kKeyCacheCapacity = 64;

// The count NewKey uses: kDefaultIterations unless a test lowered it.
uint32_t NewKeyIterations();

// Throws std::invalid_argument for a count of 0 or above kMaxIterations.
AESKey DeriveKey(const VXString& password, const Salt& salt, uint32_t iterations);
// A fresh random salt and the key derived from it at NewKeyIterations().
AESKey NewKey(const VXString& password);

// `context` names where the secret lives (any bytes, may be empty); it only
// steers the synthetic IV and is not needed to decrypt.
VXString EncryptToText(const AESKey& key, const ByteVector& clear, const ByteVector& context = {});
// False, with `clear` emptied, for a text without the "AES256 " prefix, bad
// base64, an unknown version, a salt or count other than the key's, a failed
// tag check or bad padding.
bool DecryptText(const AESKey& key, const VXString& text, ByteVector& clear);
// Reads salt and count from the text and derives the key (through the cache).
bool DecryptTextWithPassword(const VXString& password, const VXString& text, ByteVector& clear);

// What the header of a well-formed text says about its key.
struct TextHeader {
  uint8_t version = 0;
  uint32_t iterations = 0;  // fixed by the version for version 1
  Salt salt{};
};
bool ReadHeader(const VXString& text, TextHeader& header);

// Key check of a repository: the UTF-8 bytes of the text form of a fixed
// known clear text, encrypted with the repository's key. It proves a key (or
// a password, through VerifyPasswordWithKeyCheck) right without holding the
// key itself, and it is where the repository keeps its salt and count.
ByteVector MakeKeyCheck(const AESKey& key);
bool VerifyKeyCheck(const AESKey& key, const ByteVector& check);
// Derives the key from the password with the salt and count inside the check;
// true and `key` set when the check decrypts to the known text. A version 1
// check gives a current key with the check's salt at NewKeyIterations(), which
// also reads the repository's version 1 texts.
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
// Test-only: the count NewKey uses from now on in this process (0 restores
// kDefaultIterations). The test program lowers it once at start-up, because
// it makes hundreds of repositories; the product never calls it.
void SetNewKeyIterationsForTests(uint32_t iterations);
}  // namespace detail

}  // namespace qorl::crypto
