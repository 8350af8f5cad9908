#include <ostream>

#include "api/convert.h"
#include "api/repository_impl.h"
#include "elements/fragments.h"
#include "gen/generator.h"
#include "gen/output.h"
#include "store/metadata_util.h"

namespace qorl {

namespace generate_detail {

QORLScriptGenerationType ToGenerationType(DocumentContent c) {
  switch (c) {
    case DocumentContent::Everything: return QORLScriptGenerateEverything;
    case DocumentContent::WithoutSecurity: return QORLScriptGenerateWithoutSecurityObjects;
    case DocumentContent::SecurityOnly: return QORLScriptGenerateOnlySecurityObjects;
    case DocumentContent::PresentationList: return ListPresentationObjects;
    case DocumentContent::PoolsAndVariables: return QORLScriptGenerateOnlyConnectionPoolsAndVariables;
    case DocumentContent::EncryptedOnly: return QORLScriptGenerateOnlyEncryptedObjects;
  }
  return QORLScriptGenerateEverything;
}

// TAG:QUALIFIED-NAME, e.g. PhysicalTable:"db"."schema"."t"
RefARpObject FindSelected(ARpGateway& rp, const std::string& spec) {
  size_t colon = spec.find(':');
  if (colon == std::string::npos) throw ErrorMessage(99016, VXString(spec));
  TypeID type = QORLUtil::GetTypeID(VXString(spec.substr(0, colon)));
  VXString qtext(spec.substr(colon + 1));
  if (type == kTIDUnknown || qtext.empty() || qtext[0] != U'"') throw ErrorMessage(99016, VXString(spec));
  QualifiedName q;
  MetadataUtil::ParseQualifiedNameString(qtext, q, '.', true);
  RefARpObject o = rp.FindByQualifiedName(type, q);
  if (o.IsNullRef()) throw ErrorMessage(99008, VXString(spec));
  return o;
}

// The generator base keeps a reference to a result string that a generator
// printing elsewhere never fills; a base of its own builds it first.
struct UnusedResult {
  VXString text;
};

// Writes the document as UTF-8 into a string, and from there to a stream when
// there is one, with the same encoding rules as a file (OutputFile::Write).
class StreamGenerator : private UnusedResult, public QORLGenerator {
 public:
  StreamGenerator(ARpGateway* rp, std::ostream* out, std::string& buffer, const GenerateOptions& o)
      : QORLGenerator(rp, nullptr, VXString(), UnusedResult::text, o.storeIds, false, true, o.upgradeIds, false, false,
                      false, false, false),
        m_out(out),
        m_buf(buffer) {}
  ~StreamGenerator() override {
    // A stream gets what was written before a failure elsewhere, but not the
    // rest of a document that was given up.
    if (m_out && !m_failed && !Aborted() && !m_buf.empty()) m_out->write(m_buf.data(), static_cast<std::streamsize>(m_buf.size()));
  }
  bool OutputFailed() const override { return m_failed; }

  using QORLGenerator::Print;
  void Print(std::u32string_view text) override {
    if (m_failed) return;
    for (char32_t c : text) {
      if (IsNonPrintable(c)) continue;
      if (c < 0x80) m_buf.push_back(static_cast<char>(c));
      else AppendUTF8(m_buf, c);
    }
    if (m_out && m_buf.size() >= OutputFile::kBufferSize) Flush();
  }
  void Finish() {
    QORLGenerator::Finish();
    if (m_failed) throw ErrorMessage(99022);
    if (!m_out) return;
    Flush();
    // A buffering stream reports a full disk only when it passes the text on.
    m_out->flush();
    if (!*m_out) Fail();
  }

 private:
  void Flush() {
    m_out->write(m_buf.data(), static_cast<std::streamsize>(m_buf.size()));
    m_buf.clear();
    if (!*m_out) Fail();
  }
  [[noreturn]] void Fail() {
    m_failed = true;
    m_buf.clear();
    throw ErrorMessage(99022);
  }
  bool m_failed = false;
  std::ostream* m_out;
  std::string& m_buf;
};

// One document through any generator: the whole repository as
// QORLGenerator::GenerateQORL writes it, or the chosen objects. Errors of
// single objects are collected. An output that cannot be opened or written
// throws: there is no document to report on then.
template <class Make>
GenerateReport WriteDocument(ARpGateway& rp, const GenerateOptions& o, Make make) {
  VXString errors;
  bool written = true;
  return api::Translate([&] {
    if (o.objects.empty()) {
      auto gen = make();
      try {
        gen->GenerateQORLForAllObjects(errors, ToGenerationType(o.content), o.repairDuplicates);
        gen->Finish();
      } catch (ErrorMessage& e) {
        if (gen->Aborted()) throw;
        // Stopped before the end: the unfinished file is dropped.
        written = false;
        QORLUtil::HandleErrorMessage(e, errors);
      }
    } else {
      RpObjectVector chosen;
      for (const std::string& s : o.objects) chosen.push_back(FindSelected(rp, s));
      auto gen = make();
      gen->SetGenerateOptions(kGenFooter | kGenColMapping);
      gen->AddHeader();
      gen->GenerateDeclareQORLForObjects(chosen, RpObjectVector(), errors, false, NONE_FINEGRAINED, o.repairDuplicates);
      gen->AddFooter();
      gen->Finish();
    }
    return GenerateReport{written, api::TextToDiagnostics(errors)};
  });
}

}  // namespace generate_detail

GenerateReport Repository::Generate(const std::filesystem::path& file, const GenerateOptions& o) {
  ARpGateway& rp = m_impl->Gateway();
  VXString unused;
  return generate_detail::WriteDocument(rp, o, [&] {
    return std::make_unique<QORLGenerator>(&rp, nullptr, api::FromPath(file), unused, o.storeIds, false, true,
                                           o.upgradeIds, false, false, false, true, false);
  });
}

GenerateReport Repository::Generate(std::ostream& out, const GenerateOptions& o) {
  ARpGateway& rp = m_impl->Gateway();
  std::string buffer;
  return generate_detail::WriteDocument(
      rp, o, [&] { return std::make_unique<generate_detail::StreamGenerator>(&rp, &out, buffer, o); });
}

GenerateReport Repository::GenerateText(std::string& text, const GenerateOptions& o) {
  ARpGateway& rp = m_impl->Gateway();
  text.clear();
  return generate_detail::WriteDocument(
      rp, o, [&] { return std::make_unique<generate_detail::StreamGenerator>(&rp, nullptr, text, o); });
}

}  // namespace qorl
