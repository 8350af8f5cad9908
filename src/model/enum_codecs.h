// Value codecs of enumerated attributes (model/enum_codecs.def).
#pragma once

#include "model/value_codec.h"

namespace qorl {

#define QORL_ENUM_CODEC(Codec, Enum, ToText, FromText, Sample) extern const ValueCodec Codec;
#include "model/enum_codecs.def"
#undef QORL_ENUM_CODEC

}  // namespace qorl
