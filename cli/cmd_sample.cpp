// qorl sample: a deterministic synthetic repository of about N objects.
#include <CLI/CLI.hpp>

#include <iostream>

#include "cli/common.h"
#include "qorl/sample.h"

namespace qorl::cli {

void RegisterSample(CLI::App& app, GlobalOptions& g) {
  auto* cmd = app.add_subcommand("sample", "Create a synthetic repository of about N objects (for benchmarks and tests)");
  auto path = std::make_shared<std::string>();
  auto opts = std::make_shared<SampleOptions>();
  cmd->add_option("REPO", *path, "Repository file to create (must not exist)")->required();
  cmd->add_option("--objects", opts->objects, "About how many objects")->capture_default_str();
  cmd->add_option("--seed", opts->seed, "Seed: the same seed gives the same repository")->capture_default_str();
  cmd->callback([&g, path, opts] {
    g.exitCode = RunCommand(g, [&] {
      Repository rp = Repository::Create(*path, RepositoryPassword(g), RepositoryOptions(g, Access::Write));
      uint64_t made = rp.AddSample(*opts);
      rp.Commit();
      if (!g.quiet) std::cout << "created " << *path << " with " << made << " objects (" << rp.ObjectCount() << " in all)\n";
      return kExitOK;
    });
  });
}

}  // namespace qorl::cli
