// qorl init and qorl info.
#include <CLI/CLI.hpp>

#include <iostream>
#include <map>

#include "cli/common.h"
#include "model/registry.h"
#include "platform/strutil.h"
#include "store/metadata_util.h"

#include <algorithm>

namespace qorl::cli {

void RegisterInit(CLI::App& app, GlobalOptions& g) {
  auto* cmd = app.add_subcommand("init", "Create a new repository file holding the built-in security objects");
  auto path = std::make_shared<std::string>();
  cmd->add_option("REPO", *path, "Repository file to create (must not exist)")->required();
  cmd->callback([&g, path] {
    g.exitCode = RunCommand(g, [&] {
      auto rp = ARpGateway::Create(VXString(*path), RepositoryPassword(g));
      if (!g.quiet) std::cout << "created " << *path << " (" << rp->ObjectCount() << " objects)\n";
      return kExitOK;
    });
  });
}

namespace {

// Objects per element tag, in the order documents list the types.
std::vector<std::pair<std::string, size_t>> CountByTag(ARpGateway& rp) {
  std::map<TypeID, size_t> byType;
  rp.ForEachObject([&](ARpObject* o) { ++byType[o->GetTypeID()]; });
  std::vector<std::pair<std::string, size_t>> rows;
  auto add = [&](TypeID t) {
    auto it = byType.find(t);
    if (it == byType.end()) return;
    VXString tag = QORLUtil::GetTagName(t);
    rows.emplace_back(tag.empty() ? std::string(AMetaClass::FromTypeID(t)->Name()) : tag.ToUTF8(), it->second);
    byType.erase(it);
  };
  for (TypeID t : QORLUtil::GenerationSequence()) add(t);
  while (!byType.empty()) add(byType.begin()->first);
  return rows;
}

std::string JsonString(const std::string& s) {
  std::string out = "\"";
  for (unsigned char c : s) {
    if (c == '"' || c == '\\') { out += '\\'; out += static_cast<char>(c); }
    else if (c < 0x20) { char buf[8]; std::snprintf(buf, sizeof buf, "\\u%04x", c); out += buf; }
    else out += static_cast<char>(c);
  }
  return out + "\"";
}

}  // namespace

void RegisterInfo(CLI::App& app, GlobalOptions& g) {
  auto* cmd = app.add_subcommand("info", "Show what a repository holds: objects per element");
  auto path = std::make_shared<std::string>();
  auto json = std::make_shared<bool>(false);
  cmd->add_option("REPO", *path, "Repository file")->required();
  cmd->add_flag("--json", *json, "Print a JSON object for machines");
  cmd->callback([&g, path, json] {
    g.exitCode = RunCommand(g, [&] {
      auto rp = OpenRepository(g, *path);
      auto rows = CountByTag(*rp);
      // Security objects by name: few, and what an administrator checks first.
      std::vector<std::pair<std::string, std::string>> security;
      rp->ForEachObject([&](ARpObject* o) {
        TypeID t = o->GetTypeID();
        if (t == kTIDAUser || t == kTIDASecurityRole)
          security.emplace_back(QORLUtil::GetTagName(t).ToUTF8(), MetadataUtil::GenerateQualifiedName(RefARpObject(o)).ToUTF8());
      });
      std::sort(security.begin(), security.end());
      constexpr size_t kListAtMost = 50;
      if (*json) {
        std::cout << "{\"repository\": " << JsonString(*path) << ", \"objects\": " << rp->ObjectCount() << ", \"byElement\": {";
        for (size_t i = 0; i < rows.size(); ++i)
          std::cout << (i ? ", " : "") << JsonString(rows[i].first) << ": " << rows[i].second;
        std::cout << "}, \"securityObjects\": [";
        for (size_t i = 0; i < security.size() && i < kListAtMost; ++i)
          std::cout << (i ? ", " : "") << "{\"element\": " << JsonString(security[i].first)
                    << ", \"qualifiedName\": " << JsonString(security[i].second) << "}";
        std::cout << "]}\n";
      } else {
        std::cout << *path << ": " << rp->ObjectCount() << " objects\n";
        for (const auto& [tag, n] : rows) std::cout << "  " << tag << std::string(tag.size() < 24 ? 24 - tag.size() : 1, ' ') << n << "\n";
        if (!security.empty()) std::cout << "users and groups:\n";
        for (size_t i = 0; i < security.size() && i < kListAtMost; ++i)
          std::cout << "  " << security[i].first << " " << security[i].second << "\n";
        if (security.size() > kListAtMost) std::cout << "  ... and " << security.size() - kListAtMost << " more\n";
      }
      return kExitOK;
    });
  });
}

}  // namespace qorl::cli
