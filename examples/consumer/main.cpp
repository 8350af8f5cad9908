// Loads a QORL document into a new repository and writes the repository back
// as a document, through libqorl's public API only.
//   consumer REPOSITORY DOCUMENT OUTPUT   (password in QORL_REPOSITORY_PASSWORD)
#include <cstdlib>
#include <iostream>

#include <qorl/qorl.h>

int main(int argc, char** argv) {
  if (argc != 4) {
    std::cerr << "usage: consumer REPOSITORY DOCUMENT OUTPUT\n";
    return 2;
  }
  const char* password = std::getenv("QORL_REPOSITORY_PASSWORD");
  if (!password) {
    std::cerr << "consumer: set QORL_REPOSITORY_PASSWORD\n";
    return 2;
  }
  qorl::SetSchemaDirectory(QORL_INSTALLED_SCHEMA_DIR);
  try {
    qorl::Repository repository = qorl::Repository::Create(argv[1], password);
    qorl::LoadOptions options;
    options.validate = true;
    qorl::LoadReport loaded = repository.Load({argv[2]}, options);
    if (!loaded.loaded) {
      // FILE:LINE:COLUMN: error: MESSAGE [CODE], and a note for the element being applied.
      std::cerr << qorl::FormatDiagnostics(loaded.errors) << "\n";
      return 1;
    }
    repository.Commit();
    qorl::GenerateReport written = repository.Generate(std::filesystem::path(argv[3]));
    if (!written.written || !written.errors.empty()) {
      std::cerr << qorl::FormatDiagnostics(written.errors) << "\n";
      return 1;
    }
    std::cout << "qorl " << qorl::Version() << ": " << loaded.created << " objects created, " << argv[3] << " written\n";
  } catch (const qorl::Error& e) {
    std::cerr << "consumer: " << e.what() << "\n";
    return 1;
  }
  return 0;
}
