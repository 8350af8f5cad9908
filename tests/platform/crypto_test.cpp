#include <gtest/gtest.h>

#include <openssl/hmac.h>

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

Salt CountingSalt() {
  Salt s{};
  for (size_t i = 0; i < s.size(); ++i) s[i] = static_cast<uint8_t>(i);
  return s;
}

ByteVector Blob(const VXString& text) {
  ByteVector blob;
  EXPECT_TRUE(Base64Decode(text.ToUTF8().substr(7), blob));
  return blob;
}

VXString Text(const ByteVector& blob) { return VXString("AES256 ") + VXString(Base64Encode(blob.data(), blob.size())); }

// Low counts keep these tests quick; the count is a parameter like any other.
constexpr uint32_t kFew = 1000;

const VXString kKatPassword("p\xC3\xA4ssw\xC3\xB6rd \xF0\x9F\x94\x91");

}  // namespace

TEST(Crypto, RoundTripKeepsBytesExactly) {
  AESKey key = DeriveKey("round trip", CountingSalt(), kFew);
  ByteVector binary = {0, 1, 0, 0xFF, 0x20, 0, 0x80};
  ByteVector trailing = {'a', 0x80, 0, 0};  // looks like padding itself
  ByteVector longInput = RandomBytes(100000);
  for (const ByteVector& clear : {ByteVector{}, binary, trailing, ByteVector(31, 0), ByteVector(32, 0x80), longInput}) {
    VXString text = EncryptToText(key, clear);
    EXPECT_NE(text.find(U' '), VXString::npos);
    EXPECT_TRUE(text.starts_with("AES256 "));
    ByteVector back = {9, 9};
    ASSERT_TRUE(DecryptText(key, text, back)) << clear.size();
    EXPECT_EQ(back, clear);
  }
}

TEST(Crypto, TextsAreStableButShowNeitherLengthNorEqualityAcrossPlaces) {
  AESKey key = DeriveKey("stable", CountingSalt(), kFew);
  const ByteVector owner1 = {0, 0, 0x0b, 0xb8, 0, 0, 0, 1}, owner2 = {0, 0, 0x0b, 0xb8, 0, 0, 0, 2};
  // The same value in the same place under the same key: the same text.
  EXPECT_EQ(EncryptToText(key, Bytes("pw"), owner1), EncryptToText(key, Bytes("pw"), owner1));
  // Elsewhere, or another value, or another key: unrelated texts, each readable without the place.
  VXString a = EncryptToText(key, Bytes("pw"), owner1), b = EncryptToText(key, Bytes("pw"), owner2);
  EXPECT_NE(a, b);
  EXPECT_NE(a, EncryptToText(key, Bytes("pX"), owner1));
  EXPECT_NE(a, EncryptToText(DeriveKey("stable", CountingSalt(), kFew + 1), Bytes("pw"), owner1));
  ByteVector clear;
  ASSERT_TRUE(DecryptText(key, b, clear));
  EXPECT_EQ(clear, Bytes("pw"));
  // Context and secret cannot trade bytes.
  EXPECT_NE(EncryptToText(key, Bytes("b"), Bytes("a")), EncryptToText(key, Bytes(""), Bytes("ab")));

  // Lengths 0 to 31 give texts of one length, 32 to 63 of the next.
  size_t shortLen = EncryptToText(key, {}).size();
  for (size_t n = 1; n < 2 * kPadBlock; ++n) {
    size_t len = EncryptToText(key, RandomBytes(n)).size();
    if (n < kPadBlock) EXPECT_EQ(len, shortLen) << n;
    else EXPECT_GT(len, shortLen) << n;
  }
  EXPECT_EQ(EncryptToText(key, RandomBytes(kPadBlock)).size(), EncryptToText(key, RandomBytes(2 * kPadBlock - 1)).size());
}

TEST(Crypto, KnownAnswersPinFormatAndDerivation) {
  // Made independently of this code (PBKDF2-HMAC-SHA256, HKDF-SHA256, HMAC-SHA256, AES-256-GCM); if
  // they stop matching, stored secrets stop decrypting.
  const ByteVector secret = Bytes(std::string_view("secret\0bytes\xFF", 13));
  const ByteVector context = {0, 0, 0x0b, 0xb8, 0, 0, 0, 0x14};
  AESKey key = DeriveKey(kKatPassword, CountingSalt(), kFew);
  EXPECT_EQ(Hex(key.cipherKey.data(), 32), "c55f1df5959cbe6c958f1d07689bcf71dc90a272c2b17d641cc22119e689391c");
  EXPECT_EQ(Hex(key.ivKey.data(), 32), "f529440ef936fc2193ff656c579b1e6c216c559cdec7ca2c9a447876c19a3b39");
  const VXString kat(
      "AES256 AgAAA+gAAQIDBAUGBwgJCgsMDQ4PKX+AMM5UqMlSuZsZ/cg3i+4dfA/RXLOdTl/QrVKmsWYKmf9AU3T7wZCUBwK8crEyY8p/"
      "dcqMp2cDXXfW");
  EXPECT_EQ(EncryptToText(key, secret, context), kat);
  ByteVector clear;
  ASSERT_TRUE(DecryptTextWithPassword(kKatPassword, kat, clear));
  EXPECT_EQ(clear, secret);
  TextHeader h;
  ASSERT_TRUE(ReadHeader(kat, h));
  EXPECT_EQ(h.version, 2);
  EXPECT_EQ(h.iterations, kFew);
  EXPECT_EQ(h.salt, CountingSalt());

  // Version 1 (PBKDF2-HMAC-SHA1, 50,000 iterations, one key, no padding) is still read.
  const VXString v1("AES256 AQABAgMEBQYHCAkKCwwNDg9kZWZnaGlqa2xtbm8a3LSUy05myCuPUuFjzMgSmLLXe1U9DVykUae8eA==");
  ASSERT_TRUE(DecryptTextWithPassword(kKatPassword, v1, clear));
  EXPECT_EQ(clear, secret);
  ASSERT_TRUE(ReadHeader(v1, h));
  EXPECT_EQ(h.version, 1);
  EXPECT_EQ(h.iterations, 50000u);
  EXPECT_FALSE(DecryptTextWithPassword("wrong", v1, clear));
  // A current key with the same salt does not read it: only a repository's own legacy key does.
  EXPECT_FALSE(DecryptText(key, v1, clear));
}

TEST(Crypto, TheIVIsNotAHashUnderTheCipherKey) {
  AESKey key = DeriveKey("two keys", CountingSalt(), kFew);
  EXPECT_NE(key.cipherKey, key.ivKey);
  const ByteVector secret = Bytes("pool password"), context = {7};
  ByteVector blob = Blob(EncryptToText(key, secret, context));
  // What the IV hash covers: header, context length and context, secret.
  ByteVector input(blob.begin(), blob.begin() + 21);
  input.insert(input.end(), {0, 0, 0, 1, 7});
  input.insert(input.end(), secret.begin(), secret.end());
  auto macUnder = [&](const KeyBytes& k) {
    uint8_t mac[32];
    unsigned int n = 0;
    HMAC(EVP_sha256(), k.data(), 32, input.data(), input.size(), mac, &n);
    return ByteVector(mac, mac + 12);
  };
  ByteVector iv(blob.begin() + 21, blob.begin() + 33);
  EXPECT_EQ(iv, macUnder(key.ivKey));
  EXPECT_NE(iv, macUnder(key.cipherKey));
}

TEST(Crypto, WrongKeyOrDamagedTextFailsCleanly) {
  AESKey key = NewKey("right");
  VXString text = EncryptToText(key, Bytes("the pool password"));
  ByteVector clear = {1, 2, 3};

  // Same salt, other password: the tag check fails rather than giving garbage.
  EXPECT_FALSE(DecryptText(DeriveKey("wrong", key.salt, key.iterations), text, clear));
  EXPECT_TRUE(clear.empty());
  EXPECT_FALSE(DecryptTextWithPassword("wrong", text, clear));
  EXPECT_FALSE(DecryptTextWithPassword("", text, clear));
  // A key with another salt or count is refused before decrypting.
  EXPECT_FALSE(DecryptText(NewKey("right"), text, clear));
  EXPECT_FALSE(DecryptText(DeriveKey("right", key.salt, key.iterations + 1), text, clear));

  // Each byte of the blob matters: flip one in version, count, salt, IV, body and tag.
  ByteVector blob = Blob(text);
  for (size_t pos : {size_t{0}, size_t{3}, size_t{10}, size_t{25}, size_t{40}, blob.size() - 1}) {
    ByteVector bad = blob;
    bad[pos] ^= 0x01;
    EXPECT_FALSE(DecryptText(key, Text(bad), clear)) << "byte " << pos;
    EXPECT_FALSE(DecryptTextWithPassword("right", Text(bad), clear)) << "byte " << pos;
    EXPECT_TRUE(clear.empty());
  }
  ByteVector truncated(blob.begin(), blob.end() - 1);
  EXPECT_FALSE(DecryptText(key, Text(truncated), clear));
  ByteVector shortBody(blob.begin(), blob.end() - 16);  // no longer whole padding blocks
  TextHeader h;
  EXPECT_FALSE(ReadHeader(Text(shortBody), h));

  // Sealed under the right key, but the padding is wrong: no 0x80, a byte after it, nothing but zeros.
  for (const char* t :
       {"AES256 AgAAA+gAAQIDBAUGBwgJCgsMDQ4PAAAAAAAAAAAAAAAAzFU5x/sEeFKi8k3x+GzV0tbz3Cbgs8fTWQywMr2eHwt73olktJfRA2WwZJDnr6KQ",
        "AES256 AgAAA+gAAQIDBAUGBwgJCgsMDQ4PAAAAAAAAAAAAAAAAzFU5x/sEeFKi8k3x+OzV0tbz3Cbgs8fTWQywMr2eHwr2dJsf/o0LWOcj7M9TR5yw",
        "AES256 AgAAA+gAAQIDBAUGBwgJCgsMDQ4PAAAAAAAAAAAAAAAAvzBatZ5weDDbhiiCB2zV0tbz3Cbgs8fTWQywMr2eHwupeRtlSy2Tndl9GDTfCqkW"}) {
    EXPECT_FALSE(DecryptTextWithPassword(kKatPassword, t, clear)) << t;
    EXPECT_TRUE(clear.empty());
  }

  // A count of 0 or beyond the limit is refused before any derivation: a
  // document cannot make the load spend minutes on one attribute.
  size_t before = detail::KeyDerivationCount();
  for (uint32_t count : {0u, kMaxIterations + 1, 0xFFFFFFFFu}) {
    ByteVector bad = blob;
    for (int i = 0; i < 4; ++i) bad[1 + i] = static_cast<uint8_t>(count >> (24 - 8 * i));
    EXPECT_FALSE(ReadHeader(Text(bad), h)) << count;
    EXPECT_FALSE(DecryptTextWithPassword("right", Text(bad), clear)) << count;
    EXPECT_THROW(DeriveKey("right", key.salt, count), std::invalid_argument);
  }
  EXPECT_EQ(detail::KeyDerivationCount(), before);

  // Not a text of this form at all.
  for (const char* t : {"", "AES256", "AES256 ", "0A1B2C3D", "AES128 " /* other prefix */, "aes256 AAAA", "AES256 Aw=="}) {
    EXPECT_FALSE(DecryptText(key, t, clear)) << t;
    EXPECT_FALSE(ReadHeader(t, h)) << t;
  }
  std::string b64 = text.ToUTF8().substr(7);
  EXPECT_FALSE(DecryptText(key, VXString(U"AES256\u00A0") + VXString(b64), clear));  // no-break space
  EXPECT_FALSE(DecryptText(key, VXString("AES256 ") + VXString(b64) + "\n", clear));
  EXPECT_FALSE(DecryptText(key, VXString("AES256  ") + VXString(b64), clear));
}

TEST(Crypto, PasswordAloneDecryptsAndKeyCheck) {
  // The key is made in one place, the text read back with the password alone.
  VXString text;
  ByteVector check;
  {
    AESKey key = DeriveKey("s\xC3\xA9same", CountingSalt(), kFew + 7);
    text = EncryptToText(key, Bytes("ldap secret"));
    check = MakeKeyCheck(key);
    EXPECT_TRUE(VerifyKeyCheck(key, check));
    EXPECT_FALSE(VerifyKeyCheck(DeriveKey("other", key.salt, key.iterations), check));
  }
  ByteVector clear;
  ASSERT_TRUE(DecryptTextWithPassword("s\xC3\xA9same", text, clear));
  EXPECT_EQ(clear, Bytes("ldap secret"));

  // The check carries salt and count: whatever count new keys get now, the password finds the key.
  AESKey recovered;
  EXPECT_FALSE(VerifyPasswordWithKeyCheck("sesame", check, recovered));
  ASSERT_TRUE(VerifyPasswordWithKeyCheck("s\xC3\xA9same", check, recovered));
  EXPECT_EQ(recovered.iterations, kFew + 7);
  EXPECT_FALSE(recovered.legacyKey);
  ASSERT_TRUE(DecryptText(recovered, text, clear));
  EXPECT_EQ(clear, Bytes("ldap secret"));
  EXPECT_FALSE(VerifyKeyCheck(recovered, Bytes("not a check")));
  // A check is an encrypted text, not the known text itself.
  EXPECT_EQ(std::string(check.begin(), check.begin() + 7), "AES256 ");
}

TEST(Crypto, AVersionOneKeyCheckGivesACurrentKeyThatStillReadsOldTexts) {
  const std::string v1Check =
      "AES256 AWRlZmdoaWprbG1ub3BxcnMAAQIDBAUGBwgJCgtBEoN1jRkib8odJFFqkIXgOxV+ARv4ioXbXjK0Q2Yp7WeYiCkGWoY9Vw==";
  const VXString v1Text("AES256 AWRlZmdoaWprbG1ub3BxcnMMDQ4PEBESExQVFhfIVMGBRWxQ+PAvDlATj1F4P0ydsA7aJ56EkPkRCCensqTK");
  AESKey key;
  EXPECT_FALSE(VerifyPasswordWithKeyCheck("wrong", Bytes(v1Check), key));
  ASSERT_TRUE(VerifyPasswordWithKeyCheck("old password", Bytes(v1Check), key));
  ASSERT_TRUE(key.legacyKey);
  EXPECT_EQ(key.iterations, NewKeyIterations());
  ByteVector clear;
  ASSERT_TRUE(DecryptText(key, v1Text, clear));
  EXPECT_EQ(clear, Bytes("legacy pool secret"));
  EXPECT_TRUE(VerifyKeyCheck(key, Bytes(v1Check)));
  // New texts are of the current version, with the repository's salt.
  VXString fresh = EncryptToText(key, Bytes("new secret"));
  TextHeader h;
  ASSERT_TRUE(ReadHeader(fresh, h));
  EXPECT_EQ(h.version, 2);
  ASSERT_TRUE(ReadHeader(v1Text, h));
  EXPECT_EQ(h.salt, key.salt);
  ASSERT_TRUE(DecryptText(key, fresh, clear));
  ASSERT_TRUE(DecryptTextWithPassword("old password", fresh, clear));
  EXPECT_EQ(clear, Bytes("new secret"));
}

TEST(Crypto, KeyCacheDerivesOncePerPasswordSaltAndCount) {
  AESKey key = NewKey("cached password");
  size_t before = detail::KeyDerivationCount();
  std::vector<VXString> texts;
  for (int i = 0; i < 5; ++i) texts.push_back(EncryptToText(key, Bytes("value " + std::to_string(i))));
  ByteVector clear;
  for (const VXString& t : texts) ASSERT_TRUE(DecryptTextWithPassword("cached password", t, clear));
  EXPECT_EQ(DeriveKey("cached password", key.salt, key.iterations), key);
  EXPECT_EQ(detail::KeyDerivationCount(), before);

  // Same password, other salt or other count, is another key.
  Salt other = key.salt;
  other[0] ^= 1;
  AESKey k2 = DeriveKey("cached password", other, key.iterations);
  EXPECT_NE(k2.cipherKey, key.cipherKey);
  EXPECT_EQ(k2.salt, other);
  AESKey k3 = DeriveKey("cached password", key.salt, key.iterations + 1);
  EXPECT_NE(k3.cipherKey, key.cipherKey);
  EXPECT_NE(k3.ivKey, key.ivKey);
  EXPECT_EQ(detail::KeyDerivationCount(), before + 2);

  // Bounded: once enough other keys came after it, the entry is gone and is derived again.
  for (size_t i = 0; i < kKeyCacheCapacity; ++i) DeriveKey(VXString("filler ") + VXString::FromUInt(i), CountingSalt(), kFew);
  size_t mid = detail::KeyDerivationCount();
  EXPECT_EQ(DeriveKey("cached password", key.salt, key.iterations), key);
  EXPECT_EQ(detail::KeyDerivationCount(), mid + 1);
}

TEST(Crypto, NewKeysTakeTheDefaultCountUnlessATestLowersIt) {
  uint32_t lowered = NewKeyIterations();
  detail::SetNewKeyIterationsForTests(0);
  AESKey key = NewKey("full strength");
  detail::SetNewKeyIterationsForTests(lowered);
  EXPECT_EQ(key.iterations, kDefaultIterations);
  TextHeader h;
  ASSERT_TRUE(ReadHeader(EncryptToText(key, {}), h));
  EXPECT_EQ(h.iterations, kDefaultIterations);
  EXPECT_EQ(NewKey("lowered").iterations, lowered);
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
