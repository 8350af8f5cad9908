#include "platform/crypto.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstring>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <vector>

namespace qorl::crypto {

namespace {

constexpr std::string_view kPrefix = "AES256 ";
constexpr uint8_t kVersion = 1;
constexpr size_t kSaltLen = 16;
constexpr size_t kIVLen = 12;
constexpr size_t kTagLen = 16;
constexpr size_t kHeaderLen = 1 + kSaltLen + kIVLen;
constexpr std::string_view kKeyCheckText = "qorl repository key check";

std::atomic<size_t> g_derivations{0};

struct CipherCtxFree {
  void operator()(EVP_CIPHER_CTX* c) const { EVP_CIPHER_CTX_free(c); }
};
using CipherCtx = std::unique_ptr<EVP_CIPHER_CTX, CipherCtxFree>;

std::array<uint8_t, 32> Sha256(const uint8_t* data, size_t n) {
  std::array<uint8_t, 32> out{};
  unsigned int len = 0;
  if (EVP_Digest(data, n, out.data(), &len, EVP_sha256(), nullptr) != 1 || len != out.size())
    throw std::runtime_error("SHA-256 failed");
  return out;
}

// Least recently used cache of derived keys. Entries are few, so a linear
// scan beats any map.
class KeyCache {
 public:
  bool Find(const std::array<uint8_t, 32>& id, AESKey& key) {
    std::lock_guard lock(m_mutex);
    for (Entry& e : m_entries) {
      if (e.id == id) {
        e.lastUse = ++m_clock;
        key = e.key;
        return true;
      }
    }
    return false;
  }

  void Put(const std::array<uint8_t, 32>& id, const AESKey& key) {
    std::lock_guard lock(m_mutex);
    for (Entry& e : m_entries) {
      if (e.id == id) {  // another thread derived it meanwhile
        e.lastUse = ++m_clock;
        return;
      }
    }
    if (m_entries.size() < kKeyCacheCapacity) {
      m_entries.push_back({id, key, ++m_clock});
      return;
    }
    auto oldest = std::min_element(m_entries.begin(), m_entries.end(),
                                   [](const Entry& a, const Entry& b) { return a.lastUse < b.lastUse; });
    OPENSSL_cleanse(oldest->key.key.data(), oldest->key.key.size());
    *oldest = {id, key, ++m_clock};
  }

 private:
  struct Entry {
    std::array<uint8_t, 32> id;
    AESKey key;
    uint64_t lastUse;
  };
  std::mutex m_mutex;
  std::vector<Entry> m_entries;
  uint64_t m_clock = 0;
};

KeyCache& Cache() {
  static KeyCache cache;
  return cache;
}

// Decodes the part behind the prefix; false for anything that is not a text
// of the current version long enough to hold header and tag.
bool DecodeText(const VXString& text, ByteVector& blob) {
  blob.clear();
  if (text.size() < kPrefix.size()) return false;
  for (size_t i = 0; i < kPrefix.size(); ++i)
    if (text[i] != static_cast<char32_t>(kPrefix[i])) return false;
  std::string b64;
  AppendUTF8(b64, text.view().substr(kPrefix.size()));
  if (!Base64Decode(b64, blob)) return false;
  if (blob.size() < kHeaderLen + kTagLen || blob[0] != kVersion) {
    blob.clear();
    return false;
  }
  return true;
}

VXString Hex(const uint8_t* data, size_t n) {
  static const char kDigits[] = "0123456789abcdef";
  std::string s;
  s.reserve(n * 2);
  for (size_t i = 0; i < n; ++i) {
    s.push_back(kDigits[data[i] >> 4]);
    s.push_back(kDigits[data[i] & 0xF]);
  }
  return VXString(s);
}

VXString DigestHex(const EVP_MD* md, const ByteVector& data) {
  unsigned char out[EVP_MAX_MD_SIZE];
  unsigned int len = 0;
  if (EVP_Digest(data.data(), data.size(), out, &len, md, nullptr) != 1)
    throw std::runtime_error("digest failed");
  return Hex(out, len);
}

int Base64Value(unsigned char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '+') return 62;
  if (c == '/') return 63;
  return -1;
}

}  // namespace

ByteVector RandomBytes(size_t n) {
  ByteVector out(n);
  // RAND_bytes takes an int; large requests go in pieces.
  size_t done = 0;
  while (done < n) {
    int chunk = static_cast<int>(std::min<size_t>(n - done, INT_MAX));
    if (RAND_bytes(out.data() + done, chunk) != 1) throw std::runtime_error("random generator failed");
    done += static_cast<size_t>(chunk);
  }
  return out;
}

AESKey DeriveKey(const VXString& password, const std::array<uint8_t, 16>& salt) {
  std::string pw = password.ToUTF8();
  // Cache id: SHA-256(salt | password). The salt has a fixed length, so the
  // concatenation is unambiguous.
  std::string idInput(reinterpret_cast<const char*>(salt.data()), salt.size());
  idInput += pw;
  std::array<uint8_t, 32> id = Sha256(reinterpret_cast<const uint8_t*>(idInput.data()), idInput.size());
  OPENSSL_cleanse(idInput.data(), idInput.size());

  AESKey key;
  if (Cache().Find(id, key)) {
    OPENSSL_cleanse(pw.data(), pw.size());
    return key;
  }
  key.salt = salt;
  // Derived outside the lock: other passwords need not wait for this one.
  int ok = PKCS5_PBKDF2_HMAC(pw.data(), static_cast<int>(pw.size()), salt.data(), static_cast<int>(salt.size()),
                             kPBKDF2Iterations, EVP_sha1(), static_cast<int>(key.key.size()), key.key.data());
  OPENSSL_cleanse(pw.data(), pw.size());
  if (ok != 1) throw std::runtime_error("key derivation failed");
  g_derivations.fetch_add(1, std::memory_order_relaxed);
  Cache().Put(id, key);
  return key;
}

AESKey NewKey(const VXString& password) {
  ByteVector salt = RandomBytes(kSaltLen);
  std::array<uint8_t, 16> s{};
  std::copy(salt.begin(), salt.end(), s.begin());
  return DeriveKey(password, s);
}

VXString EncryptToText(const AESKey& key, const ByteVector& clear) {
  if (clear.size() > static_cast<size_t>(INT_MAX) - kHeaderLen - kTagLen)
    throw std::runtime_error("value too large to encrypt");
  ByteVector blob(kHeaderLen + clear.size() + kTagLen);
  blob[0] = kVersion;
  std::copy(key.salt.begin(), key.salt.end(), blob.begin() + 1);
  // A synthetic IV (keyed hash of the value): the same secret under the same
  // key always gives the same text, so documents under version control do not
  // change each time they are written. Equal texts only say equal secrets.
  ByteVector iv(kIVLen);
  {
    uint8_t mac[EVP_MAX_MD_SIZE];
    unsigned int macLen = 0;
    ByteVector input(blob.begin(), blob.begin() + 1 + kSaltLen);
    input.insert(input.end(), clear.begin(), clear.end());
    if (!HMAC(EVP_sha256(), key.key.data(), static_cast<int>(key.key.size()), input.data(), input.size(), mac, &macLen))
      throw std::runtime_error("encryption failed");
    std::copy(mac, mac + kIVLen, iv.begin());
  }
  std::copy(iv.begin(), iv.end(), blob.begin() + 1 + kSaltLen);

  CipherCtx ctx(EVP_CIPHER_CTX_new());
  int len = 0;
  uint8_t* out = blob.data() + kHeaderLen;
  bool ok = ctx && EVP_EncryptInit_ex(ctx.get(), EVP_aes_256_gcm(), nullptr, nullptr, nullptr) == 1 &&
            EVP_CIPHER_CTX_ctrl(ctx.get(), EVP_CTRL_GCM_SET_IVLEN, static_cast<int>(kIVLen), nullptr) == 1 &&
            EVP_EncryptInit_ex(ctx.get(), nullptr, nullptr, key.key.data(), iv.data()) == 1 &&
            // Version and salt are authenticated, not encrypted.
            EVP_EncryptUpdate(ctx.get(), nullptr, &len, blob.data(), static_cast<int>(1 + kSaltLen)) == 1;
  int total = 0;
  if (ok && !clear.empty()) {
    ok = EVP_EncryptUpdate(ctx.get(), out, &len, clear.data(), static_cast<int>(clear.size())) == 1;
    total = len;
  }
  if (ok) {
    ok = EVP_EncryptFinal_ex(ctx.get(), out + total, &len) == 1;
    total += len;
  }
  ok = ok && static_cast<size_t>(total) == clear.size() &&
       EVP_CIPHER_CTX_ctrl(ctx.get(), EVP_CTRL_GCM_GET_TAG, static_cast<int>(kTagLen), out + clear.size()) == 1;
  if (!ok) throw std::runtime_error("encryption failed");

  std::string text(kPrefix);
  text += Base64Encode(blob.data(), blob.size());
  return VXString(text);
}

bool DecryptText(const AESKey& key, const VXString& text, ByteVector& clear) {
  clear.clear();
  ByteVector blob;
  if (!DecodeText(text, blob)) return false;
  if (!std::equal(key.salt.begin(), key.salt.end(), blob.begin() + 1)) return false;

  const uint8_t* iv = blob.data() + 1 + kSaltLen;
  const uint8_t* ct = blob.data() + kHeaderLen;
  size_t ctLen = blob.size() - kHeaderLen - kTagLen;
  uint8_t* tag = blob.data() + blob.size() - kTagLen;
  if (ctLen > static_cast<size_t>(INT_MAX)) return false;

  CipherCtx ctx(EVP_CIPHER_CTX_new());
  ByteVector out(ctLen);
  int len = 0;
  bool ok = ctx && EVP_DecryptInit_ex(ctx.get(), EVP_aes_256_gcm(), nullptr, nullptr, nullptr) == 1 &&
            EVP_CIPHER_CTX_ctrl(ctx.get(), EVP_CTRL_GCM_SET_IVLEN, static_cast<int>(kIVLen), nullptr) == 1 &&
            EVP_DecryptInit_ex(ctx.get(), nullptr, nullptr, key.key.data(), iv) == 1 &&
            EVP_DecryptUpdate(ctx.get(), nullptr, &len, blob.data(), static_cast<int>(1 + kSaltLen)) == 1;
  int total = 0;
  if (ok && ctLen > 0) {
    ok = EVP_DecryptUpdate(ctx.get(), out.data(), &len, ct, static_cast<int>(ctLen)) == 1;
    total = len;
  }
  ok = ok && EVP_CIPHER_CTX_ctrl(ctx.get(), EVP_CTRL_GCM_SET_TAG, static_cast<int>(kTagLen), tag) == 1;
  // The tag is checked here; nothing decrypted is handed out before it passes.
  if (ok) {
    ok = EVP_DecryptFinal_ex(ctx.get(), out.data() + total, &len) == 1;
    total += len;
  }
  if (!ok || static_cast<size_t>(total) != ctLen) {
    OPENSSL_cleanse(out.data(), out.size());
    return false;
  }
  clear = std::move(out);
  return true;
}

bool DecryptTextWithPassword(const VXString& password, const VXString& text, ByteVector& clear) {
  clear.clear();
  std::array<uint8_t, 16> salt{};
  if (!ReadSalt(text, salt)) return false;
  return DecryptText(DeriveKey(password, salt), text, clear);
}

bool ReadSalt(const VXString& text, std::array<uint8_t, 16>& salt) {
  ByteVector blob;
  if (!DecodeText(text, blob)) return false;
  std::copy(blob.begin() + 1, blob.begin() + 1 + kSaltLen, salt.begin());
  return true;
}

ByteVector MakeKeyCheck(const AESKey& key) {
  ByteVector known(kKeyCheckText.begin(), kKeyCheckText.end());
  std::string text = EncryptToText(key, known).ToUTF8();
  return ByteVector(text.begin(), text.end());
}

bool VerifyKeyCheck(const AESKey& key, const ByteVector& check) {
  ByteVector clear;
  VXString text(std::string_view(reinterpret_cast<const char*>(check.data()), check.size()));
  return DecryptText(key, text, clear) &&
         std::string_view(reinterpret_cast<const char*>(clear.data()), clear.size()) == kKeyCheckText;
}

bool VerifyPasswordWithKeyCheck(const VXString& password, const ByteVector& check, AESKey& key) {
  VXString text(std::string_view(reinterpret_cast<const char*>(check.data()), check.size()));
  std::array<uint8_t, 16> salt{};
  if (!ReadSalt(text, salt)) return false;
  AESKey candidate = DeriveKey(password, salt);
  if (!VerifyKeyCheck(candidate, check)) return false;
  key = candidate;
  return true;
}

std::string Base64Encode(const uint8_t* data, size_t n) {
  static const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  out.reserve((n + 2) / 3 * 4);
  size_t i = 0;
  for (; i + 3 <= n; i += 3) {
    uint32_t v = (uint32_t(data[i]) << 16) | (uint32_t(data[i + 1]) << 8) | data[i + 2];
    out.push_back(kAlphabet[(v >> 18) & 63]);
    out.push_back(kAlphabet[(v >> 12) & 63]);
    out.push_back(kAlphabet[(v >> 6) & 63]);
    out.push_back(kAlphabet[v & 63]);
  }
  if (n - i == 1) {
    uint32_t v = uint32_t(data[i]) << 16;
    out.push_back(kAlphabet[(v >> 18) & 63]);
    out.push_back(kAlphabet[(v >> 12) & 63]);
    out += "==";
  } else if (n - i == 2) {
    uint32_t v = (uint32_t(data[i]) << 16) | (uint32_t(data[i + 1]) << 8);
    out.push_back(kAlphabet[(v >> 18) & 63]);
    out.push_back(kAlphabet[(v >> 12) & 63]);
    out.push_back(kAlphabet[(v >> 6) & 63]);
    out.push_back('=');
  }
  return out;
}

bool Base64Decode(std::string_view text, ByteVector& out) {
  out.clear();
  if (text.size() % 4 != 0) return false;
  out.reserve(text.size() / 4 * 3);
  for (size_t q = 0; q < text.size(); q += 4) {
    bool last = q + 4 == text.size();
    size_t pad = 0;
    if (last) {
      if (text[q + 3] == '=') pad = text[q + 2] == '=' ? 2 : 1;
    }
    int v[4] = {0, 0, 0, 0};
    for (size_t k = 0; k < 4 - pad; ++k) {
      v[k] = Base64Value(static_cast<unsigned char>(text[q + k]));
      if (v[k] < 0) {
        out.clear();
        return false;
      }
    }
    uint32_t bits = (uint32_t(v[0]) << 18) | (uint32_t(v[1]) << 12) | (uint32_t(v[2]) << 6) | uint32_t(v[3]);
    // Bits the padding leaves unused must be zero, so each byte string has
    // exactly one encoding.
    if ((pad == 1 && (bits & 0xFF) != 0) || (pad == 2 && (bits & 0xFFFF) != 0)) {
      out.clear();
      return false;
    }
    out.push_back(static_cast<uint8_t>(bits >> 16));
    if (pad < 2) out.push_back(static_cast<uint8_t>(bits >> 8));
    if (pad < 1) out.push_back(static_cast<uint8_t>(bits));
  }
  return true;
}

VXString MD5Hex(const ByteVector& data) { return DigestHex(EVP_md5(), data); }

VXString SHA256Hex(const ByteVector& data) { return DigestHex(EVP_sha256(), data); }

namespace detail {
size_t KeyDerivationCount() { return g_derivations.load(std::memory_order_relaxed); }
}  // namespace detail

}  // namespace qorl::crypto
