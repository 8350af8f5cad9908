// The qorl command: one subcommand per entry point of the library.
#include <CLI/CLI.hpp>

#include <iostream>
#include <string>

#include "cli/common.h"
#include "qorl/version.h"

namespace qorl::cli {

namespace main_detail {

constexpr const char* kExitCodes =
    "Exit codes:\n"
    "  0  success (check-password: the password opens every secret)\n"
    "  1  the documents or the repository have errors (check-password: the password does not open them)\n"
    "  2  the command line is wrong, or a check could not be made\n";

// `qorl help [SUBCOMMAND]`: the help that `qorl [SUBCOMMAND] --help` prints.
void RegisterHelp(CLI::App& app, GlobalOptions& g) {
  auto* cmd = app.add_subcommand("help", "Show the help of qorl, or of one subcommand");
  auto name = std::make_shared<std::string>();
  cmd->add_option("SUBCOMMAND", *name, "Subcommand to explain");
  cmd->callback([&app, &g, name] {
    g.exitCode = RunCommand(g, [&] {
      if (name->empty()) {
        // app.help() would explain the subcommand that runs: this one.
        std::cout << app.get_formatter()->make_help(&app, app.get_name(), CLI::AppFormatMode::Normal);
        return static_cast<int>(kExitOK);
      }
      for (const CLI::App* sub : app.get_subcommands({}))
        if (sub->get_name() == *name) {
          std::cout << sub->help(app.get_name());
          return static_cast<int>(kExitOK);
        }
      throw UsageError("unknown subcommand '" + *name + "'; see qorl --help");
    });
  });
}

// Every mistake on the command line is exit code 2 with one line on stderr,
// naming the subcommand whose help says more.
int UsageFailure(const CLI::App& app, const GlobalOptions& g, const CLI::ParseError& e) {
  const CLI::App* where = &app;
  while (!where->get_subcommands().empty()) where = where->get_subcommands().front();
  std::string message = e.what();
  if (where == &app) {
    // A first word that is no subcommand is what CLI11 calls a missing one.
    for (const std::string& word : app.remaining())
      if (!word.empty() && word[0] != '-') {
        message = "unknown subcommand '" + word + "'";
        break;
      }
  }
  std::string help = where == &app ? "qorl --help" : "qorl " + where->get_name() + " --help";
  Diagnostic d;
  d.message = message + "; see " + help;
  ReportOutsideCommand(g, d);
  return kExitUsage;
}

}  // namespace main_detail

}  // namespace qorl::cli

int main(int argc, char** argv) {
  using namespace qorl::cli;
  CLI::App app{"qorl: write, load, patch and compare repositories of semantic models as QORL documents"};
  app.name("qorl");
  app.set_version_flag("--version", std::string("qorl ") + QORL_VERSION);
  app.require_subcommand(1);
  app.fallthrough();
  GlobalOptions global;
  app.add_flag("-v,--verbose", global.verbose, "Show notifications and traces as well as warnings and errors");
  app.add_flag("-q,--quiet", global.quiet, "Show only errors: no warnings, no progress");
  app.add_option("--log", global.logFile, "Also write every diagnostic (errors, warnings, notes, traces) to FILE")
      ->type_name("FILE");
  app.add_option("--diagnostics", global.diagnostics,
                 "How errors and warnings are written on stderr: text (FILE:LINE:COLUMN: error: ...) or json "
                 "(one object per line)")
      ->check(CLI::IsMember({"text", "json"}))
      ->capture_default_str();
  auto* password = app.add_option("--repository-password", global.password,
                                  "Password of the repository (or set QORL_REPOSITORY_PASSWORD)")
                       ->type_name("PASSWORD");
  auto* passwordFile = app.add_option("--repository-password-file", global.passwordFile,
                                      "Read the repository password from the first line of FILE")
                           ->type_name("FILE");
  password->excludes(passwordFile);
  app.add_option("--lock-timeout", global.lockTimeout,
                 "Seconds to wait while another process writes the repository (or set QORL_LOCK_TIMEOUT)")
      ->envname("QORL_LOCK_TIMEOUT")
      ->check(CLI::Range(0.0, 86400.0))
      ->capture_default_str();

  RegisterInit(app, global);
  RegisterInfo(app, global);
  RegisterGen(app, global);
  RegisterLoad(app, global);
  RegisterCheckPassword(app, global);
  RegisterCheck(app, global);
  RegisterSample(app, global);
  main_detail::RegisterHelp(app, global);
  // Set last: subcommands copy the settings of the app when they are added.
  app.footer(main_detail::kExitCodes);

  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& e) {
    return app.exit(e);  // --help and --version: the text on stdout, exit 0
  } catch (const CLI::ParseError& e) {
    return main_detail::UsageFailure(app, global, e);
  }
  return global.exitCode;
}
