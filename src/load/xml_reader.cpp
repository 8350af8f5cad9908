#include "load/xml_reader.h"

#include <xercesc/framework/LocalFileInputSource.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/parsers/SAX2XMLReaderImpl.hpp>
#include <xercesc/sax/ErrorHandler.hpp>
#include <xercesc/sax/InputSource.hpp>
#include <xercesc/sax/Locator.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/sax2/XMLReaderFactory.hpp>
#include <xercesc/util/BinInputStream.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/SecurityManager.hpp>
#include <xercesc/util/XMLEntityResolver.hpp>
#include <xercesc/util/XMLException.hpp>
#include <xercesc/util/XMLResourceIdentifier.hpp>
#include <xercesc/util/XMLUni.hpp>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <new>
#include <vector>

#include "load/raw_input_guard.h"
#include "platform/error.h"

namespace qorl {

using xercesc::XMLUni;

void EnsureXMLPlatform() {
  static std::once_flag once;
  // Never terminated: readers held in static storage may still be destroyed
  // after any exit handler of ours would have run.
  std::call_once(once, [] { xercesc::XMLPlatformUtils::Initialize(); });
}

namespace xml_input {

const XMLCh kXmlTextSystemId[] = u"qorl-text";
const XMLCh kXmlNoText[] = u"";

// Hands out the configured schema file and nothing else. Every other external
// resource (DTD, entity, schema hint, include, import) gets an empty body and
// is reported as an error, so a document cannot make the load read local files
// or reach the network.
class RefusingResolver : public xercesc::XMLEntityResolver {
 public:
  std::u16string schemaPath;
  xercesc::ErrorHandler* errors = nullptr;
  XMLSize_t refused = 0;

  xercesc::InputSource* resolveEntity(xercesc::XMLResourceIdentifier* id) override {
    const XMLCh* sys = id->getSystemId() ? id->getSystemId() : kXmlNoText;
    if (id->getResourceIdentifierType() == xercesc::XMLResourceIdentifier::SchemaGrammar &&
        !schemaPath.empty() && schemaPath == sys) {
      return new xercesc::LocalFileInputSource(schemaPath.c_str());
    }
    ++refused;
    if (errors) {
      std::u16string msg = u"external resource not allowed: ";
      msg += sys;
      const xercesc::Locator* loc = id->getLocator();
      if (loc) {
        errors->error(xercesc::SAXParseException(msg.c_str(), *loc));
      } else {
        errors->error(xercesc::SAXParseException(msg.c_str(), kXmlNoText, sys, 0, 0));
      }
    }
    static const XMLByte kNothing[1] = {0};
    return new xercesc::MemBufInputSource(kNothing, 0, sys, false);
  }
};

// A source whose bytes pass a RawInputGuard on their way to the parser. The
// guard refuses by throwing from a read, which the parser survives while it
// scans but not in the middle of making its reader, which reads first: so the
// first bytes are read and checked when the stream is made, before the
// parser holds anything to leak.
class GuardedInputSource : public xercesc::InputSource {
 public:
  GuardedInputSource(const xercesc::InputSource& inner, XMLSize_t maxChars, RawInputGuard::Units units)
      : xercesc::InputSource(inner.getSystemId(), inner.getPublicId()), m_inner(inner), m_maxChars(maxChars),
        m_units(units) {
    if (inner.getEncoding()) setEncoding(inner.getEncoding());
    setIssueFatalErrorIfNotFound(inner.getIssueFatalErrorIfNotFound());
  }

  xercesc::BinInputStream* makeStream() const override {
    std::unique_ptr<xercesc::BinInputStream> stream(m_inner.makeStream());
    return stream ? new Stream(std::move(stream), m_maxChars, m_units) : nullptr;
  }

 private:
  class Stream : public xercesc::BinInputStream {
   public:
    // More than the parser's first read asks for.
    static constexpr size_t kFirstBytes = 64 << 10;

    Stream(std::unique_ptr<xercesc::BinInputStream> inner, XMLSize_t maxChars, RawInputGuard::Units units)
        : m_inner(std::move(inner)), m_guard(maxChars, units), m_first(kFirstBytes) {
      size_t got = 0;
      while (got < m_first.size() && !m_end) {
        XMLSize_t n = m_inner->readBytes(m_first.data() + got, m_first.size() - got);
        got += n;
        m_end = n == 0;
      }
      m_first.resize(got);
      m_guard.Feed(m_first.data(), got);
      if (m_end) m_guard.Feed(nullptr, 0);
    }
    XMLFilePos curPos() const override { return m_pos; }
    XMLSize_t readBytes(XMLByte* const toFill, const XMLSize_t maxToRead) override {
      XMLSize_t n;
      if (m_served < m_first.size()) {
        n = std::min<XMLSize_t>(maxToRead, m_first.size() - m_served);
        std::memcpy(toFill, m_first.data() + m_served, n);
        m_served += n;
      } else {
        if (m_end) return 0;
        n = m_inner->readBytes(toFill, maxToRead);
        m_end = n == 0;
        m_guard.Feed(toFill, n);
      }
      m_pos += n;
      return n;
    }
    const XMLCh* getContentType() const override { return m_inner->getContentType(); }
    const XMLCh* getEncoding() const override { return m_inner->getEncoding(); }

   private:
    std::unique_ptr<xercesc::BinInputStream> m_inner;
    RawInputGuard m_guard;
    std::vector<XMLByte> m_first;
    size_t m_served = 0;
    bool m_end = false;
    XMLFilePos m_pos = 0;
  };

  const xercesc::InputSource& m_inner;
  XMLSize_t m_maxChars;
  RawInputGuard::Units m_units;
};

}  // namespace xml_input

struct SaxReader::Impl {
  xercesc::SecurityManager security;
  xml_input::RefusingResolver resolver;
  // Last, so that it goes first: it points at the two above.
  std::unique_ptr<xercesc::SAX2XMLReader> reader;
  xercesc::ErrorHandler* errors = nullptr;
  // Failures of the library that did not pass through the scanner's count.
  XMLSize_t extraErrors = 0;
  bool guarded = false;
  XMLSize_t maxAttributeChars = 0;

  // Parses src, through the guard when there is one.
  void Parse(const xercesc::InputSource& src, RawInputGuard::Units units) {
    if (!guarded) return reader->parse(src);
    xml_input::GuardedInputSource source(src, maxAttributeChars, units);
    reader->parse(source);
  }

  void BeginParse() {
    extraErrors = 0;
    resolver.refused = 0;
  }

  // Runs one parse, turning an exception of the library that escaped the
  // scanner into a fatal error of the document.
  template <class F>
  void Run(const XMLCh* systemId, F&& parse) {
    BeginParse();
    try {
      parse();
    } catch (const xercesc::OutOfMemoryException&) {
      throw std::bad_alloc();
    } catch (const xercesc::XMLException& e) {
      ++extraErrors;
      if (!errors) throw ErrorMessage(XMLStr::ToVX(e.getMessage()));
      errors->fatalError(xercesc::SAXParseException(e.getMessage(), xml_input::kXmlNoText, systemId, 0, 0));
    }
  }
};

SaxReader::SaxReader() : m_impl(std::make_unique<Impl>()) {
  EnsureXMLPlatform();
  Impl& d = *m_impl;
  d.reader.reset(xercesc::XMLReaderFactory::createXMLReader());
  xercesc::SAX2XMLReader& r = *d.reader;
  d.security.setEntityExpansionLimit(kEntityExpansionLimit);
  r.setProperty(XMLUni::fgXercesSecurityManager, &d.security);
  // The resolver that is told the kind of resource and where it is asked for
  // is set on the implementation only.
  auto* impl = dynamic_cast<xercesc::SAX2XMLReaderImpl*>(&r);
  if (!impl) throw ErrorMessage(VXString("XML reader without entity resolution control"));
  impl->setXMLEntityResolver(&d.resolver);
  r.setFeature(XMLUni::fgXercesDisableDefaultEntityResolution, true);
  r.setFeature(XMLUni::fgXercesLoadExternalDTD, false);
  r.setFeature(XMLUni::fgXercesValidationErrorAsFatal, true);
  r.setFeature(XMLUni::fgXercesIgnoreAnnotations, false);
  // Schema processing only when validation is asked for; schema hints of a
  // document are never followed, even then.
  r.setFeature(XMLUni::fgXercesSchema, false);
  r.setFeature(XMLUni::fgXercesLoadSchema, false);
  r.setFeature(XMLUni::fgSAX2CoreValidation, false);
}

SaxReader::~SaxReader() = default;

void SaxReader::SetHandlers(xercesc::ContentHandler* content, xercesc::ErrorHandler* errors,
                            xercesc::LexicalHandler* lexical) {
  Impl& d = *m_impl;
  d.reader->setContentHandler(content);
  d.reader->setErrorHandler(errors);
  d.reader->setLexicalHandler(lexical);
  d.errors = errors;
  d.resolver.errors = errors;
}

void SaxReader::EnableValidation(const VXString& schemaPath, bool cacheGrammar) {
  Impl& d = *m_impl;
  xercesc::SAX2XMLReader& r = *d.reader;
  d.resolver.schemaPath = schemaPath.ToUTF16();
  // The string stays alive here for the resolver's comparison as well.
  r.setProperty(XMLUni::fgXercesSchemaExternalNoNameSpaceSchemaLocation,
                const_cast<char16_t*>(d.resolver.schemaPath.c_str()));
  r.setFeature(XMLUni::fgXercesCacheGrammarFromParse, cacheGrammar);
  r.setFeature(XMLUni::fgSAX2CoreValidation, true);
  r.setFeature(XMLUni::fgSAX2CoreNameSpaces, true);
  r.setFeature(XMLUni::fgXercesSchema, true);
  r.setFeature(XMLUni::fgXercesValidationErrorAsFatal, true);
}

void SaxReader::ParseFile(const VXString& path) {
  Impl& d = *m_impl;
  std::u16string p = path.ToUTF16();
  d.Run(p.c_str(), [&] {
    xercesc::LocalFileInputSource src(p.c_str());
    d.Parse(src, RawInputGuard::Units::kDetect);
  });
}

void SaxReader::ParseText(const VXString& text) {
  Impl& d = *m_impl;
  std::u16string buf = text.ToUTF16();
  size_t skip = (!buf.empty() && buf[0] == u'\xFEFF') ? 1 : 0;
  d.Run(xml_input::kXmlTextSystemId, [&] {
    xercesc::MemBufInputSource src(reinterpret_cast<const XMLByte*>(buf.data() + skip),
                                   (buf.size() - skip) * sizeof(char16_t), xml_input::kXmlTextSystemId, false);
    // Host-order UTF-16: the parser then ignores the encoding that the text's
    // declaration names, which described bytes that no longer exist.
    src.setEncoding(XMLUni::fgXMLChEncodingString);
    d.Parse(src, RawInputGuard::Units::kUTF16HostOrder);
  });
}

void SaxReader::GuardInput(XMLSize_t maxAttributeChars) {
  m_impl->guarded = true;
  m_impl->maxAttributeChars = maxAttributeChars;
}

XMLSize_t SaxReader::GetErrorCount() const {
  const Impl& d = *m_impl;
  return d.reader->getErrorCount() + d.extraErrors + d.resolver.refused;
}

xercesc::SAX2XMLReader& SaxReader::Reader() { return *m_impl->reader; }

namespace XMLStr {

VXString ToVX(const XMLCh* s) { return s ? VXString::FromUTF16(s) : VXString(); }

VXString ToVX(const XMLCh* s, XMLSize_t n) { return s ? VXString::FromUTF16(s, n) : VXString(); }

std::u16string FromVX(const VXString& s) { return s.ToUTF16(); }

bool Equals(const XMLCh* s, std::u32string_view t) {
  if (!s) return t.empty();
  size_t i = 0;
  while (*s) {
    char32_t c = *s++;
    if (c >= 0xD800 && c <= 0xDBFF && *s >= 0xDC00 && *s <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (static_cast<char32_t>(*s++) - 0xDC00);
    } else if (c >= 0xD800 && c <= 0xDFFF) {
      c = 0xFFFD;  // as VXString::FromUTF16 reads an unpaired surrogate
    }
    if (i >= t.size() || t[i] != c) return false;
    ++i;
  }
  return i == t.size();
}

}  // namespace XMLStr

}  // namespace qorl
