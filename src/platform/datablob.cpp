#include "platform/datablob.h"

namespace qorl {
namespace DataBlobUtil {

int HexDigitValue(char32_t c) {
  if (c >= U'0' && c <= U'9') return static_cast<int>(c - U'0');
  if (c >= U'a' && c <= U'f') return static_cast<int>(c - U'a' + 10);
  if (c >= U'A' && c <= U'F') return static_cast<int>(c - U'A' + 10);
  return -1;
}

VXString ByteVectorToHexVXString(const ByteVector& bytes) {
  static constexpr char32_t kHex[] = U"0123456789ABCDEF";
  VXString out;
  out.resize(bytes.size() * 2);
  for (size_t i = 0; i < bytes.size(); ++i) {
    out.set(2 * i, kHex[bytes[i] >> 4]);
    out.set(2 * i + 1, kHex[bytes[i] & 0x0F]);
  }
  return out;
}

bool HexVXStringToByteVector(const VXString& hex, ByteVector& bytes) {
  bytes.clear();
  bytes.reserve(hex.size() / 2);
  const size_t pairs = hex.size() / 2;
  for (size_t i = 0; i < pairs; ++i) {
    int hi = HexDigitValue(hex[2 * i]);
    int lo = HexDigitValue(hex[2 * i + 1]);
    if (hi < 0 || lo < 0) return false;
    bytes.push_back(static_cast<uint8_t>((hi << 4) | lo));
  }
  return hex.size() % 2 == 0;
}

ByteVector ToByteVector(const VXString& text) {
  std::string s = text.ToUTF8();
  return ByteVector(s.begin(), s.end());
}

void FromByteVector(const ByteVector& bytes, VXString& out, bool bUTF8) {
  if (bUTF8) {
    out = VXString(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
    return;
  }
  out.clear();
  out.reserve(bytes.size());
  for (uint8_t b : bytes) out.push_back(static_cast<char32_t>(b));
}

}  // namespace DataBlobUtil
}  // namespace qorl
