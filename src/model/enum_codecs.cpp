#include "model/enum_codecs.h"

#include "model/codecs.h"

namespace qorl {

namespace enum_codecs {

#define QORL_ENUM_CODEC(Codec, E, ToText, FromText, Sample)                                        \
  const EnumNames Codec##Names{                                                                     \
      [](int v) { return QORLUtility::ToText(static_cast<QORLUtility::E>(v)); },                 \
      [](const VXString& t) { return static_cast<int>(QORLUtility::FromText(t)); }, QORLUtility::Sample};
#include "model/enum_codecs.def"
#undef QORL_ENUM_CODEC

}  // namespace enum_codecs

#define QORL_ENUM_CODEC(Codec, E, ToText, FromText, Sample) \
  const ValueCodec Codec{FieldType::Enum, &enum_codecs::Codec##Names, "xs:string"};
#include "model/enum_codecs.def"
#undef QORL_ENUM_CODEC

}  // namespace qorl
