#include "platform/messages.h"

#include <algorithm>

#include "platform/strutil.h"

namespace qorl {

VXString MsgArg::FromDouble(double v) { return BaseStringUtil::DoubleToString(v); }

namespace {

// Ordered by number; MessageTemplate searches it by halves.
constexpr MessageDef kMessageCatalogue[] = {
    {13042, "The repository password given for the document does not decrypt its encrypted values."},
    {28021, "Line %1: unknown feature name \"%2\"; the entry is skipped."},
    {28022, "Line %1: the feature \"%2\" has the value \"%3\", but only true or false is allowed; the feature is set to false."},
    {28028, "Line %1: \"%2\" is not a valid date and time."},
    {28034, "The password of %1 could not be decrypted; the object keeps an empty or partial password."},
    {34036, "Privileges of %1: the objects %2 have both no-access and read or write privileges; no-access is kept."},
    {35021, "Could not create the directory %1."},
    {43125, "The schema file %1 does not exist."},
    {43156, "%1 empty file(s) were skipped in the directory %2."},
    {43157, "Loading the file %1 failed."},
    {46003, "Could not open the file %1 for writing."},
    {46004, "Writing the document %1 failed: %2. The file was left as it was."},
    {46005, "The output directory %1 does not exist."},
    {46006, "Writing the document to %1 failed: %2."},
    {46007, "Could not create the document %1: %2."},
    {46182, "Writing to the output file %1 failed."},
    {64001, "The file %1 does not exist."},
    {74073, "The repository may not be written."},
    {92001, "Line %1: unknown element <%2>; no handler exists for this tag."},
    {92005, "Line %1: the element has no name, so its parent cannot be resolved."},
    {92006, "The object %1 (uid %2) that the document refers to cannot be found."},
    {92007, "Line %1: a qualified name is missing or does not begin with a double quote."},
    {92008, "The XML document is not well-formed or not valid: %1"},
    {92009, "Line %1: the expression of %2 that begins \"%3\" cannot be parsed: %4"},
    {92012, "The %2 %1 of department %3 was renamed to %4 because its name is already taken."},
    {92013, "Some objects were renamed during the load because their names were already taken; see the server log."},
    {92014, "Line %1: the document holds more than one element with uid %2 or name %3; the later element is rejected."},
    {92015, "The %1 %2 was renamed to %3."},
    {92016, "Loading the file %1."},
    {92017, "Line %1: a document may not have a DOCTYPE; the load needs none and reads none."},
    {92018, "Line %1: elements are nested more than %2 levels deep."},
    {92019, "Line %1: the attribute %2 of <%3> is longer than %4 characters."},
    {92020, "Line %1: the text in <%2> is longer than %3 characters."},
    {92021, "Line %1: the bytes %2 are not UTF-8, the encoding of a document whose XML declaration names no other."},
    {92022, "Line %1: the document holds a NUL character, which no XML document may hold."},
    {92025, "The %1 %2 was deleted too: it cannot stand without the %3 %4, which was deleted."},
    {92026, "The %1 %2 no longer refers to the %3 %4, which was deleted."},
    {92031, "Line %1: <%2> %3 is a built-in security object, which every repository keeps; it is not deleted."},
    {92032, "Line %1: the uid %2 of the new <%3> %4 already belongs to <%5> %6; the new object gets a new uid."},
    {92035, "The file does not exist."},
    {92036, "This is a directory, not a document."},
    {92037, "The file cannot be read: %1."},
    {92040, "Line %1: <%2> has no attribute %3; it is ignored."},
    {92041, "Line %1: <%2> has no attribute %3; it is ignored. Did you mean %4?"},
    {92042, "Line %1: %2=\"%3\" of <%4> is not a known value; the default is taken."},
    {92043, "Line %1: %2=\"%3\" of <%4> is not a known value; the default is taken. Did you mean \"%5\"?"},
    {92044, "Line %1: <%2> cannot hold an element <%3>; it is skipped with its contents."},
    {92045, "Line %1: <%2> cannot hold an element <%3>; it is skipped with its contents. Did you mean <%4>?"},
    {92046, "Line %1: unknown element <%2> skipped with its contents. Did you mean <%3>?"},
    {94230, "Could not open the file %1 to find out whether it is a fine-grained document."},
    {94339, "An encrypted value in the document cannot be decrypted with the old password."},
    {94396, "Nothing to generate: neither object types nor objects were given."},
    {94531, "A connection pool password cannot be decrypted with the old key."},
    {94549, "The %1 %2 has the uid %3, which another object already has; it was given a new uid."},
    {94550, "The %1 %2 has the same qualified name as another object; it was renamed."},
    {94551, "The %1 %2 refers to the %3 %4, which is not in the repository; a document naming it would not load, so none is written."},
    {94562, "A section of the fine-grained document could not be validated or changed (%1 %2 %3)."},
    {94568, "The user %1 (uid %2) lists a different number of databases and sign-ons."},
    {94569, "The privilege package %1 lists a different number of query privileges and databases."},
    {94572, "An element of type %1 in a fine-grained section has no identity."},
    // The caller appends the uids, each followed by a comma.
    {94573, "Fine-grained elements were not processed because their objects were not found: "},
    {94575, "The element <%1> with identifier %2 appears more than once in the fine-grained document; the later one is dropped."},
    {94576, "The transformation found nothing to delete or recreate; the document is loaded as a plain fine-grained document."},
    {94577, "No original object was found for <%2> with uid %1; it is left out of the comparison."},
    {94578, "The element <%1> in the fine-grained document has no identifier (%2); it is kept."},
    {94626, "Re-encrypting the password of <%1> %2."},
    {94627, "The password of <%1> %2 was removed."},
    {94632, "Some objects appear in both the fine-grained and the declare sections; the declare section is applied first and the fine-grained changes on top of it."},
    {94648, "The transformation of %1 did not finish its cascade of deletions after 10000 passes."},
    {99001, "Could not open the repository file %1: %2"},
    {99002, "Wrong password for the repository file %1."},
    {99003, "The file %1 is not a qorl repository file."},
    {99004, "The repository file %1 is damaged: %2"},
    {99005, "The repository file %1 has format version %2 and was written by a newer qorl; this version reads up to version %3."},
    {99006, "A database operation on the repository file %1 failed: %2"},
    {99007, "The file %1 already exists."},
    {99008, "The object %1 does not exist."},
    {99009, "Cannot create an object of type %1: %2"},
    {99010, "An object with the id %1 already exists."},
    {99011, "No repository password was given: use --repository-password-file, --repository-password or QORL_REPOSITORY_PASSWORD."},
    {99012, "The expression names the object %1, which does not exist."},
    {99013, "Expression syntax error at character %1: %2"},
    {99014, "The repository %1 may not be written."},
    {99015, "The file %1 cannot be read."},
    {99016, "\"%1\" is not a valid object selection (expected TAG:QUALIFIED-NAME)."},
    {99017, "While applying <%1> %2."},
    {99018, "In %1:"},
    {99019, "Line %1: unknown element <%2> skipped with its contents."},
    {99020, "There are %1 passwords for %2 documents; give one password for each document, in order."},
    {99021, "The repository %1 is closed."},
    {99022, "Writing the document to the output stream failed."},
    {99023, "Line %1: the attribute %2=\"%3\" of <%4> is not a number in range; the default is taken."},
    {99024, "Line %1: the password of <%2> %3 is neither hexadecimal nor an encrypted value; the password is left empty."},
    {99030, "The repository %1 was changed by another process since it was opened; nothing was written."},
    {99031, "The repository %1 is in use by another process that is writing to it; try again when it has finished."},
    {99032, "The repository %1 is being read by another process, so the changes could not be written; nothing was written. Try again when it has finished."},
    {99035, "The repository file %1 does not exist."},
    {99036, "%1 is a directory, not a repository file."},
    {99037, "The password file cannot be read: %1."},
    {99038, "Standard input cannot be read: %1."},
};

constexpr bool IsMessageCatalogueOrdered() {
  for (size_t i = 1; i < std::size(kMessageCatalogue); ++i)
    if (kMessageCatalogue[i - 1].number >= kMessageCatalogue[i].number) return false;
  return true;
}
static_assert(IsMessageCatalogueOrdered(), "the message table must stay ordered by number, without duplicates");

}  // namespace

namespace SUStrUtil {

const char* MessageTemplate(unsigned long number) {
  const MessageDef* end = std::end(kMessageCatalogue);
  const MessageDef* it = std::lower_bound(std::begin(kMessageCatalogue), end, number,
                                          [](const MessageDef& d, unsigned long n) { return d.number < n; });
  return it != end && it->number == number ? it->text : nullptr;
}

std::span<const MessageDef> MessageCatalogue() { return kMessageCatalogue; }

VXString FormatTemplate(std::string_view t, const VXStringVector& args) {
  VXString out;
  out.reserve(t.size() + 32);
  size_t start = 0;  // first byte of t not yet copied
  size_t i = 0;
  while (i < t.size()) {
    if (t[i] != '%' || i + 1 >= t.size()) {
      ++i;
      continue;
    }
    char d1 = t[i + 1];
    if (d1 == '%') {
      out.appendUTF8(t.substr(start, i + 1 - start));  // keeps one '%'
      i += 2;
      start = i;
      continue;
    }
    if (d1 < '1' || d1 > '9') {
      ++i;
      continue;
    }
    size_t index = static_cast<size_t>(d1 - '0');
    size_t len = 2;
    if (i + 2 < t.size() && t[i + 2] >= '0' && t[i + 2] <= '9') {
      index = index * 10 + static_cast<size_t>(t[i + 2] - '0');
      len = 3;
    }
    out.appendUTF8(t.substr(start, i - start));
    if (index <= args.size())
      out.append(args[index - 1]);
    else if (!out.empty() && out.back() == U' ')
      out.pop_back();
    i += len;
    start = i;
  }
  out.appendUTF8(t.substr(start));
  return out;
}

VXString FormatMessage(unsigned long number, const VXStringVector& args) {
  if (const char* t = MessageTemplate(number)) return FormatTemplate(t, args);
  VXString out("Message ");
  out += VXString::FromUInt(number);
  for (size_t i = 0; i < args.size(); ++i) {
    out += i == 0 ? ": " : ", ";
    out += args[i];
  }
  return out;
}

}  // namespace SUStrUtil
}  // namespace qorl
