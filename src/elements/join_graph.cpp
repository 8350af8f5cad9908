#include "elements/child_codecs.h"
#include "elements/join_graph.h"

#include <unordered_set>
#include <vector>

#include "elements/fragments.h"
#include "model/attr_text.h"
#include "model/codecs.h"
#include "model/registry.h"
#include "model/vocabulary.h"
#include "platform/guid.h"
#include "store/classes.h"

namespace qorl::elements::children {

namespace join_graph {

// The tables a graph joins: physical tables, cube tables, analytic workspace dimensions and cubes.
bool IsNodeType(TypeID t) {
  return t == kTIDATable || t == kTIDACubeTable || t == kTIDAAWDimension || t == kTIDAAWCube;
}

VXString GuidOf(const RefARpObject& o) {
  return o.IsNullRef() ? VXString() : TKSGUIDGenerator::ByteVectorToGUIDString(o->UpgradeID());
}

class JoinGraphReader : public ChildReader {
 public:
  bool Start(const VXString& tag, const NameValuePairs& attrs, ReadContext& ctx) override {
    const TypeID type = QORLUtil::GetRefTypeID(tag);
    switch (m_in) {
      case In::Outside:
        if (tag != TAG_LINK) return false;
        m_links.emplace_back();
        return To(In::Link);
      case In::Link:
        if (tag == TAG_START_NODE) return To(In::StartNode);
        return tag == TAG_JOINS && To(In::Joins);
      case In::StartNode:
        if (!IsNodeType(type)) return false;
        // A reference without attributes is the empty element of an unset one.
        if (attrs.Size() != 0) m_links.back().start = ctx.Reference(type, attrs);
        return To(In::StartNodeRef);
      case In::Joins: {
        if (tag != TAG_JOIN) return false;
        Join& join = m_links.back().joins.emplace_back();
        if (const VXString* t = attrs.Find(ATTR_TYPE)) join.type = *t;
        if (const VXString* c = attrs.Find(ATTR_CARDINALITY)) join.cardinality = *c;
        return To(In::Join);
      }
      case In::Join: {
        Join& join = m_links.back().joins.back();
        if (tag == TAG_DRIVING_TABLE) return To(In::Driving);
        // The first table is the link's in node, the second its out node.
        if (IsNodeType(type)) {
          if (attrs.Size() != 0) (join.table1 ? join.table2 : join.table1) = ctx.Reference(type, attrs);
          return To(In::JoinRef);
        }
        if (type != kTIDAForeignKey && type != kTIDAComplexJoin) return false;
        if (attrs.Size() != 0) join.link = ctx.Reference(type, attrs);
        return To(In::JoinRef);
      }
      case In::Driving:
        if (type != kTIDATable) return false;
        if (attrs.Size() != 0) m_links.back().joins.back().driving = ctx.Reference(type, attrs);
        return To(In::DrivingRef);
      default:
        return false;
    }
  }

  void End(const VXString&, ReadContext&) override {
    switch (m_in) {
      case In::StartNodeRef: m_in = In::StartNode; break;
      case In::JoinRef:
      case In::Driving: m_in = In::Join; break;
      case In::DrivingRef: m_in = In::Driving; break;
      case In::Join: m_in = In::Joins; break;
      case In::StartNode:
      case In::Joins: m_in = In::Link; break;
      case In::Link: m_in = In::Outside; break;
      default: break;
    }
  }

  void Resolve(ReadContext& ctx) override {
    for (Link& link : m_links) {
      ctx.Resolve(link.start);
      for (Join& j : link.joins)
        for (QORLObjectStub** s : {&j.table1, &j.table2, &j.link, &j.driving}) ctx.Resolve(*s);
    }
  }

  // A join missing a table or its join object is passed over; a second Link
  // of the same start node is dropped with all its joins.
  void Execute(ARpObject& obj, void* field, ReadContext& ctx) override {
    JoinGraph graph;
    std::unordered_set<VoidID> seen;
    for (const Link& link : m_links) {
      RefARpObject start = ctx.ObjectOf(link.start);
      if (start.IsNullRef()) continue;
      GraphNode node(start.GetID());
      for (const Join& j : link.joins) {
        RefARpObject t1 = ctx.ObjectOf(j.table1), t2 = ctx.ObjectOf(j.table2), l = ctx.ObjectOf(j.link);
        if (t1.IsNullRef() || t2.IsNullRef() || l.IsNullRef()) continue;
        RefARpObject driving = ctx.ObjectOf(j.driving);
        node.AddLink(DirectedLink(l.GetID(), t1.GetID(), t2.GetID(), QORLUtility::GetJoinTypeFromString(j.type),
                                  QORLUtility::GetCardinalityFromString(j.cardinality),
                                  driving.IsNullRef() ? VoidID::NullID : driving.GetID()));
      }
      if (seen.insert(start.GetID()).second) graph.push_back(std::move(node));
    }
    *static_cast<JoinGraph*>(field) = std::move(graph);
    MarkObjectDirty(obj);
  }

 private:
  enum class In { Outside, Link, StartNode, StartNodeRef, Joins, Join, JoinRef, Driving, DrivingRef };
  struct Join {
    QORLObjectStub* table1 = nullptr;
    QORLObjectStub* table2 = nullptr;
    QORLObjectStub* link = nullptr;
    QORLObjectStub* driving = nullptr;
    VXString type;
    VXString cardinality;
  };
  struct Link {
    QORLObjectStub* start = nullptr;
    std::vector<Join> joins;
  };

  bool To(In state) {
    m_in = state;
    return true;
  }

  std::vector<Link> m_links;
  In m_in = In::Outside;
};

class JoinGraphCodec : public ChildCodec {
 public:
  void Write(const ARpObject&, const void* field, std::u32string_view tag, WriteContext& ctx) const override {
    ARpGateway* rp = ctx.Gateway();
    const bool dummy = ctx.Options() & kGenDummyUID;
    VXString s;
    for (const GraphNode& node : *static_cast<const JoinGraph*>(field)) {
      // References keep their ids, so that the writer can tell a missing object from none.
      RefARpObject start(rp, node.m_nodeID);
      s.clear();
      s += S_LT;
      s += tag;
      if (dummy) AppendAttr(s, ATTR_DUMMY_UID, GuidOf(start));
      s += S_GT;
      s += S_NEWLINE;
      ctx.Print(s);
      ctx.PrintTaggedRef(start, TAG_START_NODE);
      if (ctx.HasContent(!node.m_adjacentLinks.empty(), TAG_JOINS)) {
        s.clear();
        children::OpenLine(s, TAG_JOINS);
        ctx.Print(s);
        for (const DirectedLink& link : node.m_adjacentLinks) {
          RefARpObject in(rp, link.m_inNode);
          RefARpObject out(rp, link.m_outNode);
          s.clear();
          s += S_LT;
          s += TAG_JOIN;
          AppendAttr(s, ATTR_TYPE, QORLUtility::GetStringFromJoinType(link.m_joinType));
          AppendAttr(s, ATTR_CARDINALITY, QORLUtility::GetStringFromCardinality(link.m_cardinality));
          if (dummy) AppendAttr(s, ATTR_DUMMY_UID, GuidOf(in) + U':' + GuidOf(out));
          s += S_GT;
          s += S_NEWLINE;
          ctx.Print(s);
          ctx.PrintRef(in, {});
          ctx.PrintRef(out, {});
          ctx.PrintRef(RefARpObject(rp, link.m_linkID), {});
          ctx.PrintTaggedRef(RefARpObject(rp, link.m_drivingNode), TAG_DRIVING_TABLE);
          s.clear();
          children::CloseLine(s, TAG_JOIN);
          ctx.Print(s);
        }
        s.clear();
        children::CloseLine(s, TAG_JOINS);
        ctx.Print(s);
      }
      s.clear();
      children::CloseLine(s, tag);
      ctx.Print(s);
    }
  }
  ChildReader* NewReader() const override { return new JoinGraphReader; }
  std::string_view SchemaType() const override { return "JoinGraphLinkType"; }
  // Two nodes of the store's physical tables, the first joined to the second by a foreign key.
  void FillSample(ARpObject&, void* field, ARpGateway& rp) const override {
    std::vector<VoidID> tables, keys;
    rp.ForEachObject([&](const ARpObject* o) {
      if (o->GetTypeID() == kTIDATable) tables.push_back(o->GetID());
      if (o->GetTypeID() == kTIDAForeignKey) keys.push_back(o->GetID());
    });
    JoinGraph& graph = *static_cast<JoinGraph*>(field);
    graph.clear();
    if (tables.size() < 2 || keys.empty()) return;
    GraphNode first(tables[0]);
    first.AddLink(DirectedLink(keys[0], tables[0], tables[1], QORLUtility::kLeftOuterJoin, QORLUtility::k_One_To_Many,
                               tables[0]));
    graph = {first, GraphNode(tables[1])};
  }
};

const JoinGraphCodec kCodec;

}  // namespace join_graph

const ChildCodec& kJoinGraph = join_graph::kCodec;

}  // namespace qorl::elements::children
