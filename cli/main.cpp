// The qorl command: one subcommand per entry point of the library.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <map>

#include "cli/common.h"
#include "qorl/version.h"

int main(int argc, char** argv) {
  using namespace qorl::cli;
  CLI::App app{"qorl: write, load, patch and compare repositories of semantic models as QORL documents"};
  app.set_version_flag("--version", std::string("qorl ") + QORL_VERSION);
  app.require_subcommand(1);
  app.fallthrough();
  GlobalOptions global;
  app.add_flag("-v,--verbose", global.verbose, "Show notifications and traces as well as warnings and errors");
  app.add_flag("-q,--quiet", global.quiet, "Show only errors: no warnings, no progress");
  app.add_option("--log", global.logFile, "Also write every message (errors, warnings, notifications, traces) to FILE");
  app.add_option("--repository-password", global.password,
                 "Password of the repository (or set QORL_REPOSITORY_PASSWORD)")
      ->envname("QORL_REPOSITORY_PASSWORD");

  RegisterInit(app, global);
  RegisterInfo(app, global);
  RegisterGen(app, global);
  RegisterLoad(app, global);
  RegisterCheckPassword(app, global);
  RegisterCheck(app, global);
  RegisterSample(app, global);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    return app.exit(e);
  }
  return global.exitCode;
}
