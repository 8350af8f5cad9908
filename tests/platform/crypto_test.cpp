#include <gtest/gtest.h>

#include <string>

#include "platform/crypto.h"

// Inside the namespace, not behind using-directives: the tests are also built
// as one unity translation unit.
namespace qorl::crypto {
namespace {

ByteVector Bytes(std::string_view s) { return ByteVector(s.begin(), s.end()); }

std::string Hex(const uint8_t* p, size_t n) {
  static const char d[] = "0123456789abcdef";
  std::string s;
  for (size_t i = 0; i < n; ++i) {
    s += d[p[i] >> 4];
    s += d[p[i] & 15];
  }
  return s;
}

std::array<uint8_t, 16> CountingSalt() {
  std::array<uint8_t, 16> s{};
  for (size_t i = 0; i < s.size(); ++i) s[i] = static_cast<uint8_t>(i);
  return s;
}

}  // namespace

TEST(Crypto, RoundTripKeepsBytesExactly) {
  AESKey key = NewKey("round trip");
  ByteVector binary = {0, 1, 0, 0xFF, 0x20, 0, 0x80};
  ByteVector longInput = RandomBytes(100000);
  for (const ByteVector& clear : {ByteVector{}, binary, longInput}) {
    VXString text = EncryptToText(key, clear);
    EXPECT_NE(text.find(U' '), VXString::npos);
    EXPECT_TRUE(text.starts_with("AES256 "));
    ByteVector back = {9, 9};
    ASSERT_TRUE(DecryptText(key, text, back));
    EXPECT_EQ(back, clear);
  }
  // Stable texts: the same value under the same key is written the same way,
  // another value or another key differently.
  EXPECT_EQ(EncryptToText(key, binary), EncryptToText(key, binary));
  EXPECT_NE(EncryptToText(key, binary), EncryptToText(key, ByteVector{1, 2, 3}));
  EXPECT_NE(EncryptToText(key, binary), EncryptToText(NewKey("another"), binary));
}

TEST(Crypto, KnownAnswerPinsFormatAndDerivation) {
  // Made independently of this code; if it stops decrypting, stored secrets
  // would stop decrypting too.
  VXString password("p\xC3\xA4ssw\xC3\xB6rd \xF0\x9F\x94\x91");
  AESKey key = DeriveKey(password, CountingSalt());
  EXPECT_EQ(Hex(key.key.data(), key.key.size()), "5626d43c33753137b8de788c4b44dba942fafd01049d014966fe23a7d69c82fa");
  VXString text("AES256 AQABAgMEBQYHCAkKCwwNDg9kZWZnaGlqa2xtbm8a3LSUy05myCuPUuFjzMgSmLLXe1U9DVykUae8eA==");
  ByteVector clear;
  ASSERT_TRUE(DecryptTextWithPassword(password, text, clear));
  EXPECT_EQ(clear, Bytes(std::string_view("secret\0bytes\xFF", 13)));
  std::array<uint8_t, 16> salt{};
  ASSERT_TRUE(ReadSalt(text, salt));
  EXPECT_EQ(salt, CountingSalt());
}

TEST(Crypto, WrongKeyOrDamagedTextFailsCleanly) {
  AESKey key = NewKey("right");
  VXString text = EncryptToText(key, Bytes("the pool password"));
  ByteVector clear = {1, 2, 3};

  // Same salt, other password: the tag check fails rather than giving garbage.
  EXPECT_FALSE(DecryptText(DeriveKey("wrong", key.salt), text, clear));
  EXPECT_TRUE(clear.empty());
  EXPECT_FALSE(DecryptTextWithPassword("wrong", text, clear));
  EXPECT_FALSE(DecryptTextWithPassword("", text, clear));
  // A key with another salt is refused before decrypting.
  EXPECT_FALSE(DecryptText(NewKey("right"), text, clear));

  // Each byte of the blob matters: flip one in the header, the body and the tag.
  std::string b64 = text.ToUTF8().substr(7);
  ByteVector blob;
  ASSERT_TRUE(Base64Decode(b64, blob));
  for (size_t pos : {size_t{0}, size_t{5}, size_t{20}, size_t{35}, blob.size() - 1}) {
    ByteVector bad = blob;
    bad[pos] ^= 0x01;
    VXString damaged = VXString("AES256 ") + VXString(Base64Encode(bad.data(), bad.size()));
    EXPECT_FALSE(DecryptText(key, damaged, clear)) << "byte " << pos;
    EXPECT_TRUE(clear.empty());
  }
  ByteVector truncated(blob.begin(), blob.end() - 1);
  EXPECT_FALSE(DecryptText(key, VXString("AES256 ") + VXString(Base64Encode(truncated.data(), truncated.size())),
                           clear));

  // Not a text of this form at all.
  std::array<uint8_t, 16> salt{};
  for (const char* t : {"", "AES256", "AES256 ", "0A1B2C3D", "AES128 " /* other prefix */, "aes256 AAAA"}) {
    EXPECT_FALSE(DecryptText(key, t, clear)) << t;
    EXPECT_FALSE(ReadSalt(t, salt)) << t;
  }
  EXPECT_FALSE(DecryptText(key, VXString(U"AES256\u00A0") + VXString(b64), clear));  // no-break space
  EXPECT_FALSE(DecryptText(key, VXString("AES256 ") + VXString(b64) + "\n", clear));
  EXPECT_FALSE(DecryptText(key, VXString("AES256  ") + VXString(b64), clear));
}

TEST(Crypto, PasswordAloneDecryptsAndKeyCheck) {
  // The key is made in one place, the text read back with the password alone.
  VXString text;
  ByteVector check;
  {
    AESKey key = NewKey("s\xC3\xA9same");
    text = EncryptToText(key, Bytes("ldap secret"));
    check = MakeKeyCheck(key);
    EXPECT_TRUE(VerifyKeyCheck(key, check));
    EXPECT_FALSE(VerifyKeyCheck(DeriveKey("other", key.salt), check));
  }
  ByteVector clear;
  ASSERT_TRUE(DecryptTextWithPassword("s\xC3\xA9same", text, clear));
  EXPECT_EQ(clear, Bytes("ldap secret"));

  AESKey recovered;
  EXPECT_FALSE(VerifyPasswordWithKeyCheck("sesame", check, recovered));
  ASSERT_TRUE(VerifyPasswordWithKeyCheck("s\xC3\xA9same", check, recovered));
  ASSERT_TRUE(DecryptText(recovered, text, clear));
  EXPECT_EQ(clear, Bytes("ldap secret"));
  EXPECT_FALSE(VerifyKeyCheck(recovered, Bytes("not a check")));
  // A check is an encrypted text, not the known text itself.
  EXPECT_EQ(std::string(check.begin(), check.begin() + 7), "AES256 ");
}

TEST(Crypto, KeyCacheDerivesOncePerPasswordAndSalt) {
  AESKey key = NewKey("cached password");
  size_t before = detail::KeyDerivationCount();
  std::vector<VXString> texts;
  for (int i = 0; i < 5; ++i) texts.push_back(EncryptToText(key, Bytes("value " + std::to_string(i))));
  ByteVector clear;
  for (const VXString& t : texts) ASSERT_TRUE(DecryptTextWithPassword("cached password", t, clear));
  EXPECT_EQ(DeriveKey("cached password", key.salt), key);
  EXPECT_EQ(detail::KeyDerivationCount(), before);

  // Same password, other salt, is another key.
  std::array<uint8_t, 16> other = key.salt;
  other[0] ^= 1;
  AESKey k2 = DeriveKey("cached password", other);
  EXPECT_NE(k2.key, key.key);
  EXPECT_EQ(k2.salt, other);
  EXPECT_EQ(detail::KeyDerivationCount(), before + 1);

  // Bounded: once enough other keys came after it, the entry is gone and is derived again.
  std::array<uint8_t, 16> salt = CountingSalt();
  for (size_t i = 0; i < kKeyCacheCapacity; ++i) DeriveKey(VXString("filler ") + VXString::FromUInt(i), salt);
  size_t mid = detail::KeyDerivationCount();
  EXPECT_EQ(DeriveKey("cached password", key.salt), key);
  EXPECT_EQ(detail::KeyDerivationCount(), mid + 1);
}

TEST(Crypto, Base64IsStrict) {
  // RFC 4648 vectors.
  const char* vectors[][2] = {{"", ""},         {"f", "Zg=="},         {"fo", "Zm8="},  {"foo", "Zm9v"},
                              {"foob", "Zm9vYg=="}, {"fooba", "Zm9vYmE="}, {"foobar", "Zm9vYmFy"}};
  for (auto& v : vectors) {
    std::string_view clear = v[0];
    EXPECT_EQ(Base64Encode(reinterpret_cast<const uint8_t*>(clear.data()), clear.size()), v[1]);
    ByteVector out = {7};
    ASSERT_TRUE(Base64Decode(v[1], out)) << v[1];
    EXPECT_EQ(out, Bytes(clear));
  }
  ByteVector all(256);
  for (int i = 0; i < 256; ++i) all[i] = static_cast<uint8_t>(i);
  ByteVector out;
  ASSERT_TRUE(Base64Decode(Base64Encode(all.data(), all.size()), out));
  EXPECT_EQ(out, all);

  for (const char* bad : {"Zg", "Zg=", "Zm9", "Zg==Zg==", "Z===", "====", "Zm8=\n", " Zm9v", "Zm9v\n", "Zm-v",
                          "Zm_v", "Zm9v=", "Zh==", "Zm9=", "Zm=v"}) {
    out = {1};
    EXPECT_FALSE(Base64Decode(bad, out)) << bad;
    EXPECT_TRUE(out.empty()) << bad;
  }
}

TEST(Crypto, DigestsAndRandom) {
  EXPECT_EQ(MD5Hex({}), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(MD5Hex(Bytes("abc")), "900150983cd24fb0d6963f7d28e17f72");
  EXPECT_EQ(SHA256Hex(Bytes("abc")), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_TRUE(RandomBytes(0).empty());
  ByteVector a = RandomBytes(32), b = RandomBytes(32);
  EXPECT_EQ(a.size(), 32u);
  EXPECT_NE(a, b);
}

}  // namespace qorl::crypto
