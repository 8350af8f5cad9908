#include <gtest/gtest.h>

#include <string>

#include "platform/error.h"
#include "platform/messages.h"
#include "platform/serverlog.h"

using namespace qorl;

TEST(ErrorMessage, StackOrderAndArguments) {
  ErrorMessage e(92001, 17, "Role");
  EXPECT_EQ(e.GetMessageNumber(), 92001u);
  EXPECT_EQ(e.GetText(), "Line 17: unknown element <Role>; no handler exists for this tag.");
  ASSERT_EQ(e.Entries().size(), 1u);
  EXPECT_EQ(e.Entries()[0].args, (VXStringVector{"17", "Role"}));

  e.PushErrorMessage(VXString("raw text"));
  EXPECT_EQ(e.GetMessageNumber(), 0u);
  ErrorMessage cause(43157, std::string("/x/a.xml"));
  cause.PushErrorMessage(99013, 4u, VXString("unexpected ')'"));
  e.PushErrorMessage(cause);
  EXPECT_EQ(e.GetMessageNumber(), 99013u);
  EXPECT_TRUE(e.Contains(43157));
  EXPECT_FALSE(e.Contains(12345));

  VXString all;
  e.RetrieveErrorMessages(all);
  EXPECT_EQ(all,
            "Expression syntax error at character 4: unexpected ')'\n"
            "Loading the file /x/a.xml failed.\n"
            "raw text\n"
            "Line 17: unknown element <Role>; no handler exists for this tag.");

  e.PopErrorMessage();
  e.PopErrorMessage();
  e.PopErrorMessage();
  EXPECT_EQ(e.GetMessageNumber(), 92001u);
  e.PopErrorMessage();
  EXPECT_FALSE(e.HasMessages());
  e.PopErrorMessage();  // popping an empty stack is harmless
  e.RetrieveErrorMessages(all);
  EXPECT_EQ(all, "");

  // Argument kinds: negative and unsigned integers, doubles, flags, wide text.
  ErrorMessage k(1, -5LL, 18446744073709551615ULL, 0.5, true, U"w", 'c');
  EXPECT_EQ(k.Entries()[0].args, (VXStringVector{"-5", "18446744073709551615", "0.5", "true", "w", "c"}));
  EXPECT_EQ(k.GetText(), "Message 1: -5, 18446744073709551615, 0.5, true, w, c");
  EXPECT_EQ(ErrorMessage(2).GetText(), "Message 2");
}

TEST(ErrorMessage, ALocationLeadsTheTextAsTheCatalogueWritesIt) {
  ErrorMessage e(99008, "x");
  e.SetLocation(3, 2);
  EXPECT_EQ(e.GetText(), "Line 3, column 2: The object x does not exist.");
  e.PushErrorMessage(99008, "y");
  e.SetLocation(4, 0);
  EXPECT_EQ(e.GetText(), "Line 4: The object y does not exist.");
  EXPECT_EQ(e.Entries()[0].line, 3u);  // only the top entry moved
  e.SetLocation(0, 9);
  EXPECT_EQ(e.GetText(), "The object y does not exist.");
  EXPECT_EQ(e.Entries()[1].column, 0u);
  ErrorMessage none;
  none.SetLocation(1, 1);  // nothing to point
  EXPECT_FALSE(none.HasMessages());
}

TEST(ErrorMessage, ThrowAndLog) {
  try {
    SUGThrow(ErrorMessage(99008, "2001:0000000A"), __FILE__, __LINE__);
    FAIL() << "no throw";
  } catch (const ErrorMessage& e) {
    EXPECT_EQ(e.GetText(), "The object 2001:0000000A does not exist.");
  }
  ErrorMessage two(35021, "/d");
  two.PushErrorMessage(VXString("top"));
  EXPECT_THROW(ThrowOrLogError(two, true), ErrorMessage);

  ServerLogCapture cap;
  ThrowOrLogError(two, false);
  ASSERT_EQ(cap.Entries().size(), 2u);
  EXPECT_EQ(cap.Entries()[0].text, "top");
  EXPECT_EQ(cap.Entries()[1].text, "Could not create the directory /d.");
  EXPECT_EQ(cap.Count(ServerLog::kError), 2u);
}

TEST(MessageCatalogue, EveryUsedNumberHasATemplate) {
  const unsigned long used[] = {
      13042, 28021, 28022, 28028, 28034, 34036, 35021, 43125, 43156, 43157, 46003, 46182, 64001, 74073, 92001,
      92005, 92006, 92007, 92008, 92009, 92012, 92013, 92014, 92015, 92016, 94230, 94339, 94396, 94531, 94549,
      94550, 94562, 94568, 94569, 94572, 94573, 94575, 94576, 94577, 94578, 94626, 94627, 94632, 94648, 99001,
      99002, 99003, 99004, 99005, 99006, 99007, 99008, 99009, 99010, 99011, 99012, 99013, 99014, 99015, 99016,
      92035, 92036, 92037, 99035, 99036, 99037, 99038};
  for (unsigned long n : used) EXPECT_NE(SUStrUtil::MessageTemplate(n), nullptr) << n;
  EXPECT_EQ(SUStrUtil::MessageTemplate(1), nullptr);

  // Every template names its arguments without gaps: with as many arguments
  // as its highest placeholder, each argument appears in the text.
  for (const MessageDef& d : SUStrUtil::MessageCatalogue()) {
    std::string t = d.text;
    size_t highest = 0;
    for (size_t i = 0; i + 1 < t.size(); ++i)
      if (t[i] == '%' && t[i + 1] >= '1' && t[i + 1] <= '9') highest = std::max<size_t>(highest, t[i + 1] - '0');
    VXStringVector args;
    for (size_t i = 1; i <= highest; ++i) args.push_back(VXString("<<arg") + VXString::FromUInt(i) + ">>");
    VXString text = SUStrUtil::FormatMessage(d.number, args);
    for (const VXString& a : args) EXPECT_NE(text.find(a), VXString::npos) << d.number << " lacks " << a.ToUTF8();
    EXPECT_EQ(text.find(U'%'), VXString::npos) << d.number;
  }

  EXPECT_EQ(SUStrUtil::LoadMsgStringOnly(99005, "/r.qorl", 3, 2),
            "The repository file /r.qorl has format version 3 and was written by a newer qorl; this version reads up "
            "to version 2.");
  EXPECT_EQ(SUStrUtil::LoadMsgStringOnly(99011),
            "No repository password was given: use --repository-password-file, --repository-password or "
            "QORL_REPOSITORY_PASSWORD.");
}

TEST(MessageCatalogue, PlaceholderSubstitution) {
  VXStringVector ten;
  for (char32_t c = U'A'; c <= U'J'; ++c) ten.push_back(VXString(1, c));
  EXPECT_EQ(SUStrUtil::FormatTemplate("%1 %10 %2%1", ten), "A J BA");
  EXPECT_EQ(SUStrUtil::FormatTemplate("100%% of %1, %x %0 %", {"a"}), "100% of a, %x %0 %");
  // Arguments are substituted once: a "%2" inside an argument stays.
  EXPECT_EQ(SUStrUtil::FormatTemplate("%1|%2", {"%2", "b"}), "%2|b");
  // Missing arguments vanish with the blank before them.
  EXPECT_EQ(SUStrUtil::FormatTemplate("failed (%1 %2 %3).", {"DECLARE"}), "failed (DECLARE).");
  EXPECT_EQ(SUStrUtil::LoadMsgStringOnly(46182), "Writing to the output file failed.");
  EXPECT_EQ(SUStrUtil::FormatTemplate("caf\xC3\xA9 %1", {VXString(U"\u00FC")}), VXString(U"caf\u00E9 \u00FC"));
}

TEST(ServerLog, CaptureKindsAndRestore) {
  std::vector<VXString> outer;
  ServerLog::Sink previous = ServerLog::SetSink([&](const ServerLog::Record& r) { outer.push_back(r.text); });
  {
    ServerLogCapture cap;
    ServerLog::LogWarning(34036, 2, "\"u1\"", "\"a\", \"b\"");
    ServerLog::LogMessage(true, 92016, 1, "f.xml");
    ServerLog::LogMessage(false, 28034, 1, "pool");
    ServerLog::LogNotification("note", 1);
    ServerLog::LogTrace("trace", 3);
    ASSERT_EQ(cap.Entries().size(), 5u);
    EXPECT_EQ(cap.Entries()[0].kind, ServerLog::kWarning);
    EXPECT_EQ(cap.Entries()[0].level, 2);
    EXPECT_TRUE(cap.Contains(ServerLog::kWarning, "\"a\", \"b\""));
    EXPECT_EQ(cap.Entries()[1].kind, ServerLog::kError);
    EXPECT_EQ(cap.Entries()[1].text, "Loading the file f.xml.");
    EXPECT_EQ(cap.Entries()[2].kind, ServerLog::kWarning);
    EXPECT_EQ(cap.Count(ServerLog::kNotification), 1u);
    EXPECT_EQ(cap.Entries()[4].kind, ServerLog::kTrace);
    EXPECT_TRUE(outer.empty());
  }
  ServerLog::LogError("after", 1);
  ASSERT_EQ(outer.size(), 1u);
  EXPECT_EQ(outer[0], "after");
  ServerLog::SetSink(previous);
}

TEST(ServerLog, RecordsCarryTheNumberTheDocumentAndWholeErrors) {
  struct Seen {
    ServerLog::Kind kind;
    unsigned long code;
    VXString document;
    bool whole;
    VXString text;
  };
  std::vector<Seen> seen;
  ServerLog::Sink previous = ServerLog::SetSink([&](const ServerLog::Record& r) {
    seen.push_back({r.kind, r.code, r.document, r.error != nullptr, r.text});
  });
  {
    VXString doc("a.xml");
    ServerLog::DocumentScope scope(doc);
    ServerLog::LogWarning(99019, 1, 4, "X");
    {
      VXString inner("b.xml");
      ServerLog::DocumentScope nested(inner);
      ServerLog::LogNotification("n", 1);
    }
    ErrorMessage e(92006, "\"m\"", "none");
    e.PushErrorMessage(99017, "Database", "\"m\"");
    ServerLog::LogError(e);
  }
  ServerLog::LogWarning(99019, 1, 5, "Y");
  ServerLog::SetSink(previous);
  ASSERT_EQ(seen.size(), 4u);
  EXPECT_EQ(seen[0].code, 99019u);
  EXPECT_EQ(seen[0].document, "a.xml");
  EXPECT_EQ(seen[1].document, "b.xml");
  EXPECT_EQ(seen[2].kind, ServerLog::kError);
  EXPECT_TRUE(seen[2].whole);  // one record, its context with it
  EXPECT_EQ(seen[2].code, 92006u);
  EXPECT_EQ(seen[2].document, "a.xml");
  EXPECT_NE(seen[2].text.find(U'\n'), VXString::npos);
  EXPECT_EQ(seen[3].document, "");

  ServerLogCapture cap;  // the capture still sees one entry per message
  ErrorMessage two(92006, "\"m\"", "none");
  two.PushErrorMessage(99017, "Database", "\"m\"");
  ServerLog::LogError(two);
  ASSERT_EQ(cap.Entries().size(), 2u);
  EXPECT_EQ(cap.Entries()[0].code, 99017u);
  EXPECT_EQ(cap.Entries()[1].code, 92006u);
}
