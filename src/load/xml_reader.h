// The SAX2 parser of the load, with the settings every document gets: no
// network, no external entities or DTDs, a cap on entity expansion, and
// optional validation against one schema file that we name ourselves.
#pragma once

#include <xercesc/util/XercesDefs.hpp>

#include <memory>
#include <string>
#include <string_view>

#include "platform/vxstring.h"

XERCES_CPP_NAMESPACE_BEGIN
class ContentHandler;
class ErrorHandler;
class LexicalHandler;
class SAX2XMLReader;
XERCES_CPP_NAMESPACE_END

namespace qorl {

// Initialises the XML library once per process; safe to call from any thread,
// any number of times. The library is left initialised until the process ends.
void EnsureXMLPlatform();

class SaxReader {
 public:
  // Entity expansions allowed in one document, against exponential entity bombs.
  static constexpr XMLSize_t kEntityExpansionLimit = 100;

  SaxReader();
  ~SaxReader();
  SaxReader(const SaxReader&) = delete;
  SaxReader& operator=(const SaxReader&) = delete;

  // Any of them may be null. The handlers are not owned and must outlive the
  // parses.
  void SetHandlers(xercesc::ContentHandler* content, xercesc::ErrorHandler* errors,
                   xercesc::LexicalHandler* lexical = nullptr);
  // Validates every following parse against the no-namespace schema at
  // schemaPath; with cacheGrammar the schema is read once for all parses of
  // this reader. Schema hints inside documents are ignored.
  void EnableValidation(const VXString& schemaPath, bool cacheGrammar);

  // Checks the bytes of every following parse as the parser reads them (see
  // load/raw_input_guard.h): an attribute value longer than maxAttributeChars
  // UTF-16 units is refused before the parser has buffered it whole (a few a
  // little longer pass, for the handler to refuse), as are invalid UTF-8 and
  // NUL characters, each with its line. The refusal is an ErrorMessage thrown
  // from the parse.
  void GuardInput(XMLSize_t maxAttributeChars);

  // Errors go to the error handler, a missing file as a fatal error, and are
  // counted in GetErrorCount; without an error handler they are only counted.
  // A refused external resource is reported through error(). Exceptions thrown
  // by the handlers pass through unchanged; a failure of the library that the
  // parser does not report itself is thrown as ErrorMessage when there is no
  // error handler.
  void ParseFile(const VXString& path);
  // Parses a document held in memory. An encoding named by the text's own XML
  // declaration is ignored: the text is already decoded.
  void ParseText(const VXString& text);

  // Errors and fatal errors of the last parse, including refused external
  // resources.
  XMLSize_t GetErrorCount() const;

  // The underlying reader, for settings that this class does not cover.
  xercesc::SAX2XMLReader& Reader();

 private:
  struct Impl;
  std::unique_ptr<Impl> m_impl;
};

// Conversions at the SAX boundary. XMLCh is char16_t.
namespace XMLStr {
VXString ToVX(const XMLCh* s);  // null gives the empty string
VXString ToVX(const XMLCh* s, XMLSize_t n);
std::u16string FromVX(const VXString& s);
// Compares UTF-16 text with UTF-32 text without allocating; null equals "".
bool Equals(const XMLCh* s, std::u32string_view t);
}  // namespace XMLStr

}  // namespace qorl
