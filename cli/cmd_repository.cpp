// qorl init and qorl info.
#include <CLI/CLI.hpp>

#include <iostream>

#include "cli/common.h"

namespace qorl::cli {

void RegisterInit(CLI::App& app, GlobalOptions& g) {
  auto* cmd = app.add_subcommand("init", "Create a new repository file holding the built-in security objects");
  auto path = std::make_shared<std::string>();
  cmd->add_option("REPO", *path, "Repository file to create (must not exist)")->required();
  cmd->callback([&g, path] {
    g.exitCode = RunCommand(g, [&] {
      Repository rp = Repository::Create(*path, RepositoryPassword(g), RepositoryOptions(g, Access::Write));
      if (!g.quiet) std::cout << "created " << *path << " (" << rp.ObjectCount() << " objects)\n";
      return kExitOK;
    });
  });
}

void RegisterInfo(CLI::App& app, GlobalOptions& g) {
  auto* cmd = app.add_subcommand("info", "Show what a repository holds: objects per element");
  auto path = std::make_shared<std::string>();
  auto json = std::make_shared<bool>(false);
  cmd->add_option("REPO", *path, "Repository file")->required();
  cmd->add_flag("--json", *json, "Print a JSON object for machines");
  cmd->callback([&g, path, json] {
    g.exitCode = RunCommand(g, [&] {
      Repository rp = OpenRepository(g, *path, Access::Read);
      std::vector<ElementCount> rows = rp.CountByElement();
      // Security objects by name: few, and what an administrator checks first.
      std::vector<SecurityObject> security = rp.UsersAndGroups();
      constexpr size_t kListAtMost = 50;
      if (*json) {
        std::cout << "{\"repository\": " << JsonString(*path) << ", \"objects\": " << rp.ObjectCount() << ", \"byElement\": {";
        for (size_t i = 0; i < rows.size(); ++i)
          std::cout << (i ? ", " : "") << JsonString(rows[i].element) << ": " << rows[i].count;
        std::cout << "}, \"securityObjects\": [";
        for (size_t i = 0; i < security.size() && i < kListAtMost; ++i)
          std::cout << (i ? ", " : "") << "{\"element\": " << JsonString(security[i].element)
                    << ", \"qualifiedName\": " << JsonString(security[i].qualifiedName) << "}";
        std::cout << "]}\n";
      } else {
        std::cout << *path << ": " << rp.ObjectCount() << " objects\n";
        for (const ElementCount& r : rows)
          std::cout << "  " << r.element << std::string(r.element.size() < 24 ? 24 - r.element.size() : 1, ' ') << r.count << "\n";
        if (!security.empty()) std::cout << "users and groups:\n";
        for (size_t i = 0; i < security.size() && i < kListAtMost; ++i)
          std::cout << "  " << security[i].element << " " << security[i].qualifiedName << "\n";
        if (security.size() > kListAtMost) std::cout << "  ... and " << security.size() - kListAtMost << " more\n";
      }
      return kExitOK;
    });
  });
}

}  // namespace qorl::cli
