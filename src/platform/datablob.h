// Byte vectors as text: hexadecimal for stored binary values, UTF-8 for text.
#pragma once

#include "platform/vxstring.h"

namespace qorl {
namespace DataBlobUtil {

// 0 to 15 for a hexadecimal digit of either case, -1 otherwise.
int HexDigitValue(char32_t c);

// Upper-case hex, two characters per byte.
VXString ByteVectorToHexVXString(const ByteVector& bytes);
// Either case. Odd length or a non-hex character gives false; the bytes
// before the fault are still converted.
bool HexVXStringToByteVector(const VXString& hex, ByteVector& bytes);
// The UTF-8 bytes of the text.
ByteVector ToByteVector(const VXString& text);
// UTF-8 decoding when bUTF8, else one character per byte (Latin-1).
void FromByteVector(const ByteVector& bytes, VXString& out, bool bUTF8);

}  // namespace DataBlobUtil
}  // namespace qorl
