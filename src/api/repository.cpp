#include <algorithm>
#include <climits>
#include <map>

#include "api/convert.h"
#include "api/repository_impl.h"
#include "model/registry.h"
#include "store/metadata_util.h"
#include "tools/sample.h"

namespace qorl {

Repository::Repository(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}
Repository::Repository(Repository&&) noexcept = default;
Repository& Repository::operator=(Repository&&) noexcept = default;
Repository::~Repository() = default;

namespace repository_detail {

ARpGateway::Access ToAccess(Access a) { return a == Access::Write ? ARpGateway::Access::Write : ARpGateway::Access::Read; }

// SQLite waits in whole milliseconds, up to INT_MAX.
int WaitMs(std::chrono::milliseconds wait) {
  return static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(wait.count(), 0, INT_MAX));
}

}  // namespace repository_detail

Repository Repository::Create(const std::filesystem::path& file, const std::string& password,
                              const OpenOptions& options) {
  auto impl = std::make_unique<Impl>();
  impl->path = file;
  impl->rp = api::Translate([&] {
    return ARpGateway::Create(api::FromPath(file), VXString(password), repository_detail::ToAccess(options.access),
                              repository_detail::WaitMs(options.wait));
  });
  return Repository(std::move(impl));
}

Repository Repository::Open(const std::filesystem::path& file, const std::string& password,
                            const OpenOptions& options) {
  auto impl = std::make_unique<Impl>();
  impl->path = file;
  impl->rp = api::Translate([&] {
    return ARpGateway::Open(api::FromPath(file), VXString(password), repository_detail::ToAccess(options.access),
                            repository_detail::WaitMs(options.wait));
  });
  return Repository(std::move(impl));
}

Repository Repository::CreateInMemory(const std::string& password) {
  auto impl = std::make_unique<Impl>();
  impl->rp = api::Translate([&] { return ARpGateway::CreateInMemory(VXString(password)); });
  return Repository(std::move(impl));
}

const std::filesystem::path& Repository::Path() const noexcept {
  static const std::filesystem::path kNone;
  return m_impl ? m_impl->path : kNone;
}

bool Repository::IsOpen() const noexcept { return m_impl && m_impl->rp; }

void Repository::Commit() {
  ARpGateway& rp = m_impl->Gateway();
  api::Translate([&] { rp.Commit(); });
}

void Repository::Rollback() {
  ARpGateway& rp = m_impl->Gateway();
  api::Translate([&] { rp.Rollback(); });
}

bool Repository::HasUncommittedChanges() const { return m_impl->Gateway().HasUncommittedChanges(); }

void Repository::Close() noexcept {
  if (m_impl) m_impl->rp.reset();
}

std::size_t Repository::ObjectCount() const { return m_impl->Gateway().ObjectCount(); }

std::vector<ElementCount> Repository::CountByElement() const {
  ARpGateway& rp = m_impl->Gateway();
  std::map<TypeID, size_t> byType;
  rp.ForEachObject([&](ARpObject* o) { ++byType[o->GetTypeID()]; });
  std::vector<ElementCount> rows;
  auto add = [&](TypeID t) {
    auto it = byType.find(t);
    if (it == byType.end()) return;
    // Types without an element of their own are named by their class.
    VXString tag = QORLUtil::GetTagName(t);
    rows.push_back({tag.empty() ? std::string(AMetaClass::FromTypeID(t)->Name()) : tag.ToUTF8(), it->second});
    byType.erase(it);
  };
  for (TypeID t : QORLUtil::GenerationSequence()) add(t);
  while (!byType.empty()) add(byType.begin()->first);
  return rows;
}

std::vector<SecurityObject> Repository::UsersAndGroups() const {
  ARpGateway& rp = m_impl->Gateway();
  std::vector<SecurityObject> out;
  rp.ForEachObject([&](ARpObject* o) {
    TypeID t = o->GetTypeID();
    if (t == kTIDAUser || t == kTIDASecurityRole)
      out.push_back({QORLUtil::GetTagName(t).ToUTF8(), MetadataUtil::GenerateQualifiedName(RefARpObject(o)).ToUTF8()});
  });
  std::sort(out.begin(), out.end(), [](const SecurityObject& a, const SecurityObject& b) {
    return a.element != b.element ? a.element < b.element : a.qualifiedName < b.qualifiedName;
  });
  return out;
}

std::uint64_t Repository::AddSample(const SampleOptions& options) {
  ARpGateway& rp = m_impl->Gateway();
  return api::Translate([&] { return BuildSampleRepository(rp, options.objects, options.seed); });
}

}  // namespace qorl
