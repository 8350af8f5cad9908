#include "platform/crypto.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/kdf.h>
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

namespace textform {

constexpr std::string_view kPrefix = "AES256 ";
constexpr uint8_t kVersion = 2;
constexpr uint8_t kLegacyVersion = 1;
constexpr size_t kSaltLen = 16;
constexpr size_t kIVLen = 12;
constexpr size_t kTagLen = 16;
// Authenticated, not encrypted: version, count, salt (version 1: no count).
constexpr size_t kAADLen = 1 + 4 + kSaltLen;
constexpr size_t kLegacyAADLen = 1 + kSaltLen;
constexpr uint32_t kLegacyIterations = 50000;
constexpr std::string_view kKeyCheckText = "qorl repository key check";
// HKDF labels of the two subkeys; never reuse one for another purpose.
constexpr std::string_view kCipherLabel = "qorl secret text v2 cipher key";
constexpr std::string_view kIVLabel = "qorl secret text v2 synthetic iv key";

std::atomic<size_t> g_derivations{0};
std::atomic<uint32_t> g_newKeyIterations{0};

struct CipherCtxFree {
  void operator()(EVP_CIPHER_CTX* c) const { EVP_CIPHER_CTX_free(c); }
};
using CipherCtx = std::unique_ptr<EVP_CIPHER_CTX, CipherCtxFree>;

struct PKeyCtxFree {
  void operator()(EVP_PKEY_CTX* c) const { EVP_PKEY_CTX_free(c); }
};
using PKeyCtx = std::unique_ptr<EVP_PKEY_CTX, PKeyCtxFree>;

KeyBytes Sha256(const uint8_t* data, size_t n) {
  KeyBytes out{};
  unsigned int len = 0;
  if (EVP_Digest(data, n, out.data(), &len, EVP_sha256(), nullptr) != 1 || len != out.size())
    throw std::runtime_error("SHA-256 failed");
  return out;
}

void PutBE32(uint8_t* p, uint32_t v) {
  p[0] = static_cast<uint8_t>(v >> 24);
  p[1] = static_cast<uint8_t>(v >> 16);
  p[2] = static_cast<uint8_t>(v >> 8);
  p[3] = static_cast<uint8_t>(v);
}

uint32_t GetBE32(const uint8_t* p) {
  return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | uint32_t(p[3]);
}

// What the slow derivation gives, cached: both subkeys, or for version 1 the
// one key (in `cipher`).
struct Derived {
  KeyBytes cipher{};
  KeyBytes iv{};
};

// Least recently used cache of derived keys. Entries are few, so a linear
// scan beats any map.
class KeyCache {
 public:
  bool Find(const KeyBytes& id, Derived& key) {
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

  void Put(const KeyBytes& id, const Derived& key) {
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
    OPENSSL_cleanse(&oldest->key, sizeof oldest->key);
    *oldest = {id, key, ++m_clock};
  }

 private:
  struct Entry {
    KeyBytes id;
    Derived key;
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

KeyBytes HKDF(const KeyBytes& master, std::string_view label) {
  KeyBytes out{};
  size_t len = out.size();
  PKeyCtx ctx(EVP_PKEY_CTX_new_id(EVP_PKEY_HKDF, nullptr));
  bool ok = ctx && EVP_PKEY_derive_init(ctx.get()) == 1 && EVP_PKEY_CTX_set_hkdf_md(ctx.get(), EVP_sha256()) == 1 &&
            EVP_PKEY_CTX_set1_hkdf_key(ctx.get(), master.data(), static_cast<int>(master.size())) == 1 &&
            EVP_PKEY_CTX_add1_hkdf_info(ctx.get(), reinterpret_cast<const unsigned char*>(label.data()),
                                        static_cast<int>(label.size())) == 1 &&
            EVP_PKEY_derive(ctx.get(), out.data(), &len) == 1 && len == out.size();
  if (!ok) throw std::runtime_error("key derivation failed");
  return out;
}

// The slow part, through the cache. `version` picks the derivation: 2 gives
// both subkeys from a PBKDF2-HMAC-SHA256 master key, 1 the one PBKDF2-HMAC-SHA1
// key of old texts.
Derived DeriveCached(uint8_t version, const VXString& password, const Salt& salt, uint32_t iterations) {
  std::string pw = password.ToUTF8();
  // Cache id: SHA-256(version | count | salt | password). All but the
  // password have a fixed length, so the concatenation is unambiguous.
  std::string idInput(1 + 4 + kSaltLen, '\0');
  auto* head = reinterpret_cast<uint8_t*>(idInput.data());
  head[0] = version;
  PutBE32(head + 1, iterations);
  std::copy(salt.begin(), salt.end(), head + 5);
  idInput += pw;
  KeyBytes id = Sha256(reinterpret_cast<const uint8_t*>(idInput.data()), idInput.size());
  OPENSSL_cleanse(idInput.data(), idInput.size());

  Derived key;
  if (Cache().Find(id, key)) {
    OPENSSL_cleanse(pw.data(), pw.size());
    return key;
  }
  // Derived outside the lock: other passwords need not wait for this one.
  KeyBytes master{};
  int ok = PKCS5_PBKDF2_HMAC(pw.data(), static_cast<int>(pw.size()), salt.data(), static_cast<int>(salt.size()),
                             static_cast<int>(iterations), version == kLegacyVersion ? EVP_sha1() : EVP_sha256(),
                             static_cast<int>(master.size()), master.data());
  OPENSSL_cleanse(pw.data(), pw.size());
  if (ok != 1) throw std::runtime_error("key derivation failed");
  if (version == kLegacyVersion) {
    key.cipher = master;
  } else {
    key.cipher = HKDF(master, kCipherLabel);
    key.iv = HKDF(master, kIVLabel);
  }
  OPENSSL_cleanse(master.data(), master.size());
  g_derivations.fetch_add(1, std::memory_order_relaxed);
  Cache().Put(id, key);
  return key;
}

// A decoded text: the blob behind the prefix and where its parts lie.
struct Parsed {
  ByteVector blob;
  TextHeader header;
  size_t aadLen = 0;
};

// False for anything that is not a well-formed text of a known version: bad
// prefix or base64, too short, a count of 0 or above the limit, or (version
// 2) a body that is not whole padding blocks.
bool Parse(const VXString& text, Parsed& p) {
  p.blob.clear();
  if (text.size() < kPrefix.size()) return false;
  for (size_t i = 0; i < kPrefix.size(); ++i)
    if (text[i] != static_cast<char32_t>(kPrefix[i])) return false;
  std::string b64;
  AppendUTF8(b64, text.view().substr(kPrefix.size()));
  if (!Base64Decode(b64, p.blob) || p.blob.empty()) return false;
  const uint8_t* b = p.blob.data();
  bool ok = false;
  if (b[0] == kVersion && p.blob.size() >= kAADLen + kIVLen + kPadBlock + kTagLen) {
    p.aadLen = kAADLen;
    p.header.version = kVersion;
    p.header.iterations = GetBE32(b + 1);
    std::copy(b + 5, b + 5 + kSaltLen, p.header.salt.begin());
    ok = p.header.iterations > 0 && p.header.iterations <= kMaxIterations &&
         (p.blob.size() - kAADLen - kIVLen - kTagLen) % kPadBlock == 0;
  } else if (b[0] == kLegacyVersion && p.blob.size() >= kLegacyAADLen + kIVLen + kTagLen) {
    p.aadLen = kLegacyAADLen;
    p.header.version = kLegacyVersion;
    p.header.iterations = kLegacyIterations;
    std::copy(b + 1, b + 1 + kSaltLen, p.header.salt.begin());
    ok = true;
  }
  if (!ok) p.blob.clear();
  return ok;
}

// AES-256-GCM open of a parsed text under `key`; the padding is left on.
bool Open(const Parsed& p, const KeyBytes& key, ByteVector& out) {
  const uint8_t* blob = p.blob.data();
  const uint8_t* iv = blob + p.aadLen;
  const uint8_t* ct = iv + kIVLen;
  size_t ctLen = p.blob.size() - p.aadLen - kIVLen - kTagLen;
  if (ctLen > static_cast<size_t>(INT_MAX)) return false;
  uint8_t tag[kTagLen];
  std::copy(ct + ctLen, ct + ctLen + kTagLen, tag);

  CipherCtx ctx(EVP_CIPHER_CTX_new());
  out.assign(ctLen, 0);
  int len = 0;
  bool ok = ctx && EVP_DecryptInit_ex(ctx.get(), EVP_aes_256_gcm(), nullptr, nullptr, nullptr) == 1 &&
            EVP_CIPHER_CTX_ctrl(ctx.get(), EVP_CTRL_GCM_SET_IVLEN, static_cast<int>(kIVLen), nullptr) == 1 &&
            EVP_DecryptInit_ex(ctx.get(), nullptr, nullptr, key.data(), iv) == 1 &&
            EVP_DecryptUpdate(ctx.get(), nullptr, &len, blob, static_cast<int>(p.aadLen)) == 1;
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
    out.clear();
    return false;
  }
  return true;
}

// Strips 0x80 0x00...; false unless the last block ends in exactly that.
bool Unpad(ByteVector& padded) {
  if (padded.empty() || padded.size() % kPadBlock != 0) return false;
  size_t end = padded.size();
  size_t limit = end - kPadBlock;
  while (end > limit && padded[end - 1] == 0) --end;
  if (end == limit || padded[end - 1] != 0x80) return false;
  padded.resize(end - 1);
  return true;
}

// Decrypts a parsed text with the key of its own version, then unpads.
bool OpenText(const Parsed& p, const KeyBytes& key, ByteVector& clear) {
  ByteVector out;
  if (!Open(p, key, out)) return false;
  if (p.header.version == kVersion && !Unpad(out)) {
    OPENSSL_cleanse(out.data(), out.size());
    return false;
  }
  clear = std::move(out);
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

VXString CheckText(const ByteVector& check) {
  return VXString(std::string_view(reinterpret_cast<const char*>(check.data()), check.size()));
}

}  // namespace textform

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

uint32_t NewKeyIterations() {
  uint32_t n = textform::g_newKeyIterations.load(std::memory_order_relaxed);
  return n ? n : kDefaultIterations;
}

AESKey DeriveKey(const VXString& password, const Salt& salt, uint32_t iterations) {
  if (iterations == 0 || iterations > kMaxIterations) throw std::invalid_argument("iteration count out of range");
  textform::Derived d = textform::DeriveCached(textform::kVersion, password, salt, iterations);
  AESKey key;
  key.iterations = iterations;
  key.salt = salt;
  key.cipherKey = d.cipher;
  key.ivKey = d.iv;
  OPENSSL_cleanse(&d, sizeof d);
  return key;
}

AESKey NewKey(const VXString& password) {
  ByteVector random = RandomBytes(textform::kSaltLen);
  Salt salt{};
  std::copy(random.begin(), random.end(), salt.begin());
  return DeriveKey(password, salt, NewKeyIterations());
}

VXString EncryptToText(const AESKey& key, const ByteVector& clear, const ByteVector& context) {
  using namespace textform;
  if (key.iterations == 0) throw std::logic_error("encryption with a key that was never derived");
  // Always at least one padding byte, so the padding is never ambiguous.
  size_t padded = (clear.size() / kPadBlock + 1) * kPadBlock;
  if (clear.size() > static_cast<size_t>(INT_MAX) - 2 * kPadBlock - kAADLen - kIVLen - kTagLen ||
      context.size() > UINT32_MAX)
    throw std::runtime_error("value too large to encrypt");
  ByteVector blob(kAADLen + kIVLen + padded + kTagLen);
  blob[0] = kVersion;
  PutBE32(blob.data() + 1, key.iterations);
  std::copy(key.salt.begin(), key.salt.end(), blob.begin() + 5);

  // Synthetic IV: HMAC under the IV key of header, context (length first,
  // so context and secret cannot trade bytes) and secret. Equal IVs only come
  // from equal inputs, which then give equal texts: GCM never sees one IV
  // with two different messages.
  uint8_t* iv = blob.data() + kAADLen;
  {
    uint8_t mac[EVP_MAX_MD_SIZE];
    unsigned int macLen = 0;
    ByteVector input(blob.begin(), blob.begin() + kAADLen);
    uint8_t n[4];
    PutBE32(n, static_cast<uint32_t>(context.size()));
    input.insert(input.end(), n, n + 4);
    input.insert(input.end(), context.begin(), context.end());
    input.insert(input.end(), clear.begin(), clear.end());
    bool ok = HMAC(EVP_sha256(), key.ivKey.data(), static_cast<int>(key.ivKey.size()), input.data(), input.size(),
                   mac, &macLen) != nullptr;
    OPENSSL_cleanse(input.data(), input.size());
    if (!ok || macLen < kIVLen) throw std::runtime_error("encryption failed");
    std::copy(mac, mac + kIVLen, iv);
  }

  ByteVector plain(padded, 0);
  std::copy(clear.begin(), clear.end(), plain.begin());
  plain[clear.size()] = 0x80;

  CipherCtx ctx(EVP_CIPHER_CTX_new());
  int len = 0;
  uint8_t* out = iv + kIVLen;
  bool ok = ctx && EVP_EncryptInit_ex(ctx.get(), EVP_aes_256_gcm(), nullptr, nullptr, nullptr) == 1 &&
            EVP_CIPHER_CTX_ctrl(ctx.get(), EVP_CTRL_GCM_SET_IVLEN, static_cast<int>(kIVLen), nullptr) == 1 &&
            EVP_EncryptInit_ex(ctx.get(), nullptr, nullptr, key.cipherKey.data(), iv) == 1 &&
            EVP_EncryptUpdate(ctx.get(), nullptr, &len, blob.data(), static_cast<int>(kAADLen)) == 1 &&
            EVP_EncryptUpdate(ctx.get(), out, &len, plain.data(), static_cast<int>(plain.size())) == 1;
  int total = len;
  if (ok) {
    ok = EVP_EncryptFinal_ex(ctx.get(), out + total, &len) == 1;
    total += len;
  }
  OPENSSL_cleanse(plain.data(), plain.size());
  ok = ok && static_cast<size_t>(total) == padded &&
       EVP_CIPHER_CTX_ctrl(ctx.get(), EVP_CTRL_GCM_GET_TAG, static_cast<int>(kTagLen), out + padded) == 1;
  if (!ok) throw std::runtime_error("encryption failed");

  std::string text(kPrefix);
  text += Base64Encode(blob.data(), blob.size());
  return VXString(text);
}

bool DecryptText(const AESKey& key, const VXString& text, ByteVector& clear) {
  using namespace textform;
  clear.clear();
  Parsed p;
  if (!Parse(text, p) || p.header.salt != key.salt) return false;
  if (p.header.version == kLegacyVersion) return key.legacyKey && OpenText(p, *key.legacyKey, clear);
  return p.header.iterations == key.iterations && OpenText(p, key.cipherKey, clear);
}

bool DecryptTextWithPassword(const VXString& password, const VXString& text, ByteVector& clear) {
  using namespace textform;
  clear.clear();
  Parsed p;
  if (!Parse(text, p)) return false;
  Derived d = DeriveCached(p.header.version, password, p.header.salt, p.header.iterations);
  bool ok = OpenText(p, d.cipher, clear);
  OPENSSL_cleanse(&d, sizeof d);
  return ok;
}

bool ReadHeader(const VXString& text, TextHeader& header) {
  textform::Parsed p;
  if (!textform::Parse(text, p)) return false;
  header = p.header;
  return true;
}

ByteVector MakeKeyCheck(const AESKey& key) {
  using namespace textform;
  ByteVector known(kKeyCheckText.begin(), kKeyCheckText.end());
  std::string text = EncryptToText(key, known).ToUTF8();
  return ByteVector(text.begin(), text.end());
}

bool VerifyKeyCheck(const AESKey& key, const ByteVector& check) {
  using namespace textform;
  ByteVector clear;
  return DecryptText(key, CheckText(check), clear) &&
         std::string_view(reinterpret_cast<const char*>(clear.data()), clear.size()) == kKeyCheckText;
}

bool VerifyPasswordWithKeyCheck(const VXString& password, const ByteVector& check, AESKey& key) {
  using namespace textform;
  TextHeader h;
  if (!ReadHeader(CheckText(check), h)) return false;
  AESKey candidate;
  if (h.version == kLegacyVersion) {
    // A repository from before counts were kept: its texts of version 1 stay
    // readable under the old key; new texts are of the current version, with
    // the same salt.
    Derived legacy = DeriveCached(kLegacyVersion, password, h.salt, kLegacyIterations);
    AESKey probe;
    probe.salt = h.salt;
    probe.legacyKey = legacy.cipher;
    OPENSSL_cleanse(&legacy, sizeof legacy);
    if (!VerifyKeyCheck(probe, check)) return false;
    candidate = DeriveKey(password, h.salt, NewKeyIterations());
    candidate.legacyKey = probe.legacyKey;
  } else {
    candidate = DeriveKey(password, h.salt, h.iterations);
    if (!VerifyKeyCheck(candidate, check)) return false;
  }
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
      v[k] = textform::Base64Value(static_cast<unsigned char>(text[q + k]));
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

VXString MD5Hex(const ByteVector& data) { return textform::DigestHex(EVP_md5(), data); }

VXString SHA256Hex(const ByteVector& data) { return textform::DigestHex(EVP_sha256(), data); }

namespace detail {
size_t KeyDerivationCount() { return textform::g_derivations.load(std::memory_order_relaxed); }
void SetNewKeyIterationsForTests(uint32_t iterations) {
  if (iterations > kMaxIterations) throw std::invalid_argument("iteration count out of range");
  textform::g_newKeyIterations.store(iterations, std::memory_order_relaxed);
}
}  // namespace detail

}  // namespace qorl::crypto
