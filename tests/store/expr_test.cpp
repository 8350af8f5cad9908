#include "store/expr.h"

#include <gtest/gtest.h>

#include <map>
#include <utility>

using namespace qorl;

namespace {

// A tiny repository: names by type, and the reverse for printing.
class MapRepo : public ExprNamer, public ExprLookup {
 public:
  VoidID Add(TypeID type, uint32_t num, QualifiedName name) {
    VoidID id(type, UniqueNum(num));
    m_byName[{type, name}] = id;
    m_byID[id.Key()] = std::move(name);
    return id;
  }
  void Forget(const VoidID& id) { m_byID.erase(id.Key()); }

  bool QualifiedNameOf(const VoidID& id, QualifiedName& out) const override {
    auto it = m_byID.find(id.Key());
    if (it == m_byID.end()) return false;
    out = it->second;
    return true;
  }
  bool Exists(const VoidID& id) const override { return m_byID.count(id.Key()) != 0; }
  bool Find(TypeID type, const QualifiedName& name, VoidID& out) const override {
    auto it = m_byName.find({type, name});
    if (it == m_byName.end()) return false;
    out = it->second;
    return true;
  }

 private:
  std::map<std::pair<TypeID, QualifiedName>, VoidID> m_byName;
  std::map<uint64_t, QualifiedName> m_byID;
};

QualifiedName QN(std::initializer_list<const char*> parts) {
  QualifiedName q;
  for (const char* p : parts) q.emplace_back(p);
  return q;
}

std::string U8(const VXString& s) { return s.ToUTF8(); }

class ExprTest : public ::testing::Test {
 protected:
  void SetUp() override {
    revenue = repo.Add(kTIDAAttribute, 0x10, QN({"Sales", "Fact", "Revenue"}));
    taxVar = repo.Add(kTIDARpVariable, 0x11, QN({"TaxRate"}));
    t1id = repo.Add(kTIDAColumn, 0x2a, QN({"db", "cat", "sch", "T1", "ID"}));
    t2id = repo.Add(kTIDAColumn, 0x2b, QN({"db", "cat", "sch", "T2", "ID"}));
    quoted = repo.Add(kTIDAAttribute, 0x12, QN({"Sa\"les", "Rev\"\""}));
    unicode = repo.Add(kTIDAAttribute, 0x13, QN({"Ventes", "Montant \xE2\x82\xAC \xF0\x9F\x98\x80"}));
    // One name, two types: a table outside VALUEOF, a variable inside it.
    xTable = repo.Add(kTIDATable, 0x14, QN({"X"}));
    xVar = repo.Add(kTIDARpVariable, 0x15, QN({"X"}));
    ab = repo.Add(kTIDATable, 0x16, QN({"a", "b"}));
  }
  bool Parse(const char* text, Expr& e, ExprType type = kSME_Logical) { return ParseExpr(VXString(text), e, err, type, repo); }

  MapRepo repo;
  VXString err;
  VoidID revenue, taxVar, t1id, t2id, quoted, unicode, xTable, xVar, ab;
};

TEST_F(ExprTest, ParsePrintRoundTripIsByteExact) {
  Expr e;
  ASSERT_TRUE(Parse("SUM(\"Sales\".\"Fact\".\"Revenue\") * 2 + VALUEOF(\"TaxRate\")", e)) << U8(err);
  ASSERT_EQ(e.Size(), 5u);
  EXPECT_EQ(U8(e.Tokens()[0].text), "SUM(");
  EXPECT_EQ(e.Tokens()[1].id, revenue);
  EXPECT_EQ(U8(e.Tokens()[2].text), ") * 2 + VALUEOF(");
  EXPECT_EQ(e.Tokens()[3].id, taxVar);
  EXPECT_EQ(U8(e.Tokens()[4].text), ")");
  EXPECT_FALSE(e.IsUnparsed());
  EXPECT_EQ(U8(PrintExpr(e, repo, true)), "SUM(\"2006:00000010\") * 2 + VALUEOF(\"3031:00000011\")");

  const std::pair<const char*, ExprType> texts[] = {
      {"\"db\".\"cat\".\"sch\".\"T1\".\"ID\" = \"db\".\"cat\".\"sch\".\"T2\".\"ID\"", kSME_Physical},
      // Double quotes in a literal are not names; a doubled apostrophe stays in the literal.
      {"CASE WHEN \"db\".\"cat\".\"sch\".\"T1\".\"ID\" = 'say \"hi\" it''s' THEN '\"' END", kSME_Physical},
      // Doubled quotes inside names, blanks and line ends kept as they are.
      {"  \"Sa\"\"les\".\"Rev\"\"\"\"\"\t+\n\"Sales\".\"Fact\".\"Revenue\"\r\n", kSME_BusinessModel},
      {"\"Ventes\".\"Montant \xE2\x82\xAC \xF0\x9F\x98\x80\" || '\xC3\x9Cn\xC3\xAF' ", kSME_Logical},
      // Inside VALUEOF a variable wins over a table of the same name; a session
      // variable's quoted name is no repository object and stays text.
      {"\"X\" + VALUEOF( \"X\" ) + valueof(NQ_SESSION.\"USER\")", kSME_Physical},
      {"", kSME_Logical},
      {"no objects at all", kSME_Physical},
  };
  for (auto [t, type] : texts) {
    Expr p;
    ASSERT_TRUE(Parse(t, p, type)) << t << ": " << U8(err);
    EXPECT_EQ(U8(PrintExpr(p, repo, false)), t);
    EXPECT_EQ(U8(p.GetFormatText()), t);
  }

  Expr x;
  ASSERT_TRUE(Parse("\"X\" + VALUEOF( \"X\" ) + valueof(NQ_SESSION.\"USER\")", x, kSME_Physical));
  VoidIDVector ids;
  x.CollectIDs(ids, false);
  EXPECT_EQ(ids, (VoidIDVector{xTable, xVar}));

  // VoidID texts resolve by identity; printing with ids gives them back, and
  // printing by name gives the names.
  Expr v;
  ASSERT_TRUE(Parse("\"3003:0000002a\" = \"db\".\"cat\".\"sch\".\"T2\".\"ID\"", v, kSME_Physical)) << U8(err);
  EXPECT_EQ(U8(PrintExpr(v, repo, true)), "\"3003:0000002a\" = \"3003:0000002b\"");
  EXPECT_EQ(U8(PrintExpr(v, repo, false)), "\"db\".\"cat\".\"sch\".\"T1\".\"ID\" = \"db\".\"cat\".\"sch\".\"T2\".\"ID\"");
  Expr v2;
  ASSERT_TRUE(Parse("\"3003:0000002a\" = \"3003:0000002b\"", v2, kSME_Physical));
  EXPECT_EQ(v, v2);

  // An object the namer no longer knows prints as its VoidID text.
  repo.Forget(t2id);
  EXPECT_EQ(U8(PrintExpr(v, repo, false)), "\"db\".\"cat\".\"sch\".\"T1\".\"ID\" = \"3003:0000002b\"");
}

TEST_F(ExprTest, ParseFailuresNameTheProblem) {
  Expr e;
  EXPECT_FALSE(Parse("1 + \"Sales\".\"Nope\" * 2", e));
  EXPECT_EQ(U8(err), "\"Sales\".\"Nope\" does not name an object of the repository");
  // A failed expression keeps only its raw text and prints it back.
  EXPECT_TRUE(e.IsUnparsed());
  EXPECT_TRUE(e.IsEmpty());
  EXPECT_EQ(U8(PrintExpr(e, repo, false)), "1 + \"Sales\".\"Nope\" * 2");

  // The whole run must name one object: a known prefix is not enough.
  EXPECT_FALSE(Parse("\"a\".\"b\".\"c\"", e, kSME_Physical));
  EXPECT_EQ(U8(err), "\"a\".\"b\".\"c\" does not name an object of the repository");
  EXPECT_TRUE(Parse("\"a\".\"b\"", e, kSME_Physical));
  // A table name is no logical object.
  EXPECT_FALSE(Parse("\"a\".\"b\"", e, kSME_Logical));
  // VoidID text of an object that does not exist.
  EXPECT_FALSE(Parse("\"3003:000000ff\"", e, kSME_Physical));
  EXPECT_NE(U8(err).find("\"3003:000000ff\""), std::string::npos);

  EXPECT_FALSE(Parse("1 + \"abc", e));
  EXPECT_EQ(U8(err), "Unterminated double quote starting at position 5");
  EXPECT_FALSE(Parse("\"Sales\".\"Fact", e));
  EXPECT_EQ(U8(err), "Unterminated double quote starting at position 9");
  EXPECT_FALSE(Parse("\"ab\"\"", e));  // the doubled quote is content, not the end
  EXPECT_NE(U8(err).find("Unterminated double quote"), std::string::npos);
  EXPECT_FALSE(Parse("x = 'it''s", e));
  EXPECT_EQ(U8(err), "Unterminated string literal starting at position 5");

  // A later success starts from a clean expression.
  ASSERT_TRUE(Parse("VALUEOF(\"TaxRate\")", e));
  EXPECT_FALSE(e.IsUnparsed());
  EXPECT_TRUE(err.empty());
}

TEST(Expr, TokensCollectAndEquality) {
  VoidID a(kTIDAColumn, 1), b(kTIDAColumn, 2), c(kTIDATable, 1);
  Expr e;
  e.AppendText("x");
  e.AppendText("");
  e.AppendText("y");
  e.AppendObject(a);
  e.AppendObject(b);
  e.AppendText(" ");
  e.AppendObject(a);
  e.AppendObject(c);
  e.AppendObject(b);
  ASSERT_EQ(e.Size(), 7u);
  EXPECT_EQ(U8(e.Tokens()[0].text), "xy");
  EXPECT_FALSE(e.Tokens()[0].IsObject());
  EXPECT_TRUE(e.Tokens()[1].IsObject());

  VoidIDVector all, uniq;
  e.CollectIDs(all, false);
  EXPECT_EQ(all, (VoidIDVector{a, b, a, c, b}));
  e.CollectIDs(uniq, true);
  EXPECT_EQ(uniq, (VoidIDVector{a, b, c}));
  VoidIDVector seeded{c};
  e.CollectIDs(seeded, true);
  EXPECT_EQ(seeded, (VoidIDVector{c, a, b}));

  // The null identity stays visible as text rather than becoming an object.
  Expr n;
  n.AppendText("f(");
  n.AppendObject(VoidID::NullID);
  n.AppendText(")");
  ASSERT_EQ(n.Size(), 1u);
  EXPECT_EQ(U8(n.Tokens()[0].text), "f(\"0000:ffffffff\")");

  Expr f = e;
  f.SetFormatText("written differently");
  EXPECT_TRUE(f == e);
  Expr g;
  g.AppendText("xy");
  g.AppendObject(b);
  EXPECT_FALSE(g == e);

  // Unparsed expressions have no tokens; they compare by their raw text.
  Expr u1, u2;
  u1.SetFormatText("bad (");
  u1.SetUnparsed(true);
  u2.SetFormatText("other bad (");
  u2.SetUnparsed(true);
  EXPECT_FALSE(u1 == u2);
  u2.SetFormatText("bad (");
  EXPECT_TRUE(u1 == u2);
  EXPECT_FALSE(u1 == Expr());

  e.Clear();
  EXPECT_TRUE(e.IsEmpty());
  EXPECT_TRUE(e.GetFormatText().empty());
}

TEST(Expr, EncodeDecodeRoundTrip) {
  Expr e;
  e.AppendText("SUM(\xE2\x82\xAC ");
  e.AppendObject(VoidID(kTIDAAttribute, UniqueNum(0xFFFFFFFEu)));
  e.AppendText(U"\U0001F600)");
  e.AppendObject(VoidID(-7, UniqueNum(3)));
  e.SetFormatText("SUM(\xE2\x82\xAC \"a\".\"b\")");
  Expr u;
  u.SetFormatText("broken '");
  u.SetUnparsed(true);
  Expr empty;

  ByteVector buf;
  e.Encode(buf);
  u.Encode(buf);
  empty.Encode(buf);
  const uint8_t* p = buf.data();
  const uint8_t* end = p + buf.size();
  Expr d1, d2, d3;
  ASSERT_TRUE(d1.Decode(p, end));
  ASSERT_TRUE(d2.Decode(p, end));
  ASSERT_TRUE(d3.Decode(p, end));
  EXPECT_EQ(p, end);
  EXPECT_EQ(d1.Tokens(), e.Tokens());
  EXPECT_EQ(d1.GetFormatText(), e.GetFormatText());
  EXPECT_FALSE(d1.IsUnparsed());
  EXPECT_TRUE(d2.IsUnparsed());
  EXPECT_EQ(U8(d2.GetFormatText()), "broken '");
  EXPECT_TRUE(d3.IsEmpty());
  EXPECT_TRUE(d3.GetFormatText().empty());

  // Every truncation fails and leaves the cursor and the target untouched.
  ByteVector one;
  e.Encode(one);
  for (size_t len = 0; len < one.size(); ++len) {
    const uint8_t* q = one.data();
    Expr t;
    t.AppendText("keep");
    EXPECT_FALSE(t.Decode(q, q + len)) << len;
    EXPECT_EQ(q, one.data());
    EXPECT_EQ(U8(t.Tokens()[0].text), "keep");
  }
  ByteVector junk{0x80};
  const uint8_t* q = junk.data();
  EXPECT_FALSE(d1.Decode(q, q + junk.size()));
  // A huge token count must not be trusted.
  ByteVector big{0, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F};
  q = big.data();
  EXPECT_FALSE(d1.Decode(q, q + big.size()));
}

TEST(Expr, FindVariables) {
  std::vector<VariableToken> v;
  VXString text(
      "VALUEOF(TaxRate) + valueof ( \"Rate \"\"A\"\"\" ) * ValueOf(NQ_SESSION.\"USER\") - "
      "VALUEOF(QUAL.name) || 'VALUEOF(InLiteral)' || \"VALUEOF(InName)\" || MYVALUEOF(No) || "
      "VALUEOF( ) || VALUEOF(a.b.c) || VALUEOF(\n Last\t)");
  FindVariables(text, v);
  ASSERT_EQ(v.size(), 5u);
  EXPECT_EQ(U8(v[0].name), "TaxRate");
  EXPECT_TRUE(v[0].qualifier.empty());
  EXPECT_EQ(v[0].pos, 0u);
  EXPECT_EQ(v[0].len, 16u);
  EXPECT_EQ(U8(v[1].name), "Rate \"A\"");
  EXPECT_TRUE(v[1].qualifier.empty());
  EXPECT_EQ(U8(text.substr(v[1].pos, v[1].len)), "valueof ( \"Rate \"\"A\"\"\" )");
  EXPECT_EQ(U8(v[2].qualifier), "NQ_SESSION");
  EXPECT_EQ(U8(v[2].name), "USER");
  EXPECT_EQ(U8(v[3].qualifier), "QUAL");
  EXPECT_EQ(U8(v[3].name), "name");
  EXPECT_EQ(U8(v[4].name), "Last");
  EXPECT_EQ(v[4].pos + v[4].len, text.size());

  // A lone apostrophe (as in a connection string) does not hide what follows.
  v.clear();
  FindVariables(VXString("O'Brien VALUEOF(DSN)"), v);
  ASSERT_EQ(v.size(), 1u);
  EXPECT_EQ(U8(v[0].name), "DSN");
  EXPECT_EQ(v[0].pos, 8u);
}

TEST(Expr, QualifiedNameText) {
  QualifiedName q = QN({"db", "a\"b", "", "\"", "\xC3\xA9t\xC3\xA9 \xF0\x9F\x98\x80"});
  VXString t = QualifiedNameToText(q);
  EXPECT_EQ(U8(t), "\"db\".\"a\"\"b\".\"\".\"\"\"\".\"\xC3\xA9t\xC3\xA9 \xF0\x9F\x98\x80\"");
  QualifiedName back;
  ASSERT_TRUE(ParseQualifiedNameText(t, back));
  EXPECT_EQ(back, q);
  EXPECT_TRUE(QualifiedNameToText(QualifiedName()).empty());

  for (const char* bad : {"", "abc", " \"a\"", "\"a\" . \"b\"", "\"a\".", "\"a\"x", "\"a", "\"a\".\"b", "\"a\"\"",
                          "\"a\".b", "\"a\"..\"b\""}) {
    QualifiedName out = QN({"stale"});
    EXPECT_FALSE(ParseQualifiedNameText(VXString(bad), out)) << bad;
    EXPECT_TRUE(out.empty()) << bad;
  }
}

}  // namespace
