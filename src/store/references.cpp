#include "store/references.h"

#include <algorithm>
#include <cstring>
#include <unordered_map>
#include <vector>

#include "store/classes.h"

namespace qorl {

namespace member_refs {

bool Names(const Expr& e, const IdSet& gone, VoidID& named) {
  for (const ExprToken& t : e.Tokens())
    if (t.IsObject() && gone.Has(t.id)) {
      named = t.id;
      return true;
    }
  return false;
}

bool Names(const Expr& e, const IdSet& gone) {
  VoidID unused;
  return Names(e, gone, unused);
}

bool Is(const VoidID& id, const IdSet& gone, VoidID& named) {
  if (!gone.Has(id)) return false;
  named = id;
  return true;
}

// How a member's value holds ids: `find` tells whether it names one of the
// set and what that does, `drop` takes such references out of the value.
struct ValueRefs {
  RefHit (*find)(const void* field, const IdSet& gone, VoidID& named);
  void (*drop)(void* field, const IdSet& gone);
};

const ValueRefs kId{
    [](const void* f, const IdSet& gone, VoidID& named) {
      return Is(*static_cast<const VoidID*>(f), gone, named) ? RefHit::Drop : RefHit::None;
    },
    [](void* f, const IdSet& gone) {
      VoidID& id = *static_cast<VoidID*>(f);
      if (gone.Has(id)) id = VoidID::NullID;
    }};

const ValueRefs kIds{
    [](const void* f, const IdSet& gone, VoidID& named) {
      for (const VoidID& id : *static_cast<const VoidIDVector*>(f))
        if (Is(id, gone, named)) return RefHit::Drop;
      return RefHit::None;
    },
    [](void* f, const IdSet& gone) {
      std::erase_if(*static_cast<VoidIDVector*>(f), [&gone](const VoidID& id) { return gone.Has(id); });
    }};

// An expression that names a deleted object means nothing any more: it is
// emptied rather than left to print the object's bare id.
const ValueRefs kExpr{
    [](const void* f, const IdSet& gone, VoidID& named) {
      return Names(*static_cast<const Expr*>(f), gone, named) ? RefHit::Drop : RefHit::None;
    },
    [](void* f, const IdSet& gone) {
      Expr& e = *static_cast<Expr*>(f);
      if (Names(e, gone)) e.Clear();
    }};

using SourceDefinition = ALogicalTableSource::SourceDefinition;

bool LinkNames(const DirectedLink& l, const IdSet& gone, VoidID& named) {
  return Is(l.m_linkID, gone, named) || Is(l.m_inNode, gone, named) || Is(l.m_outNode, gone, named);
}

// A mapping goes with either of its objects, a table of the graph with all
// its joins, a join with its tables or its join object; a driving table is
// only forgotten, and the detail filter emptied.
const ValueRefs kSourceDefinition{
    [](const void* f, const IdSet& gone, VoidID& named) {
      const SourceDefinition& d = *static_cast<const SourceDefinition*>(f);
      for (const auto& [logical, physical] : d.m_logicalToPhysicalProjection)
        if (Names(logical, gone, named) || Names(physical, gone, named)) return RefHit::Drop;
      for (const GraphNode& n : d.m_joinSpec) {
        if (Is(n.m_nodeID, gone, named)) return RefHit::Drop;
        for (const DirectedLink& l : n.m_adjacentLinks)
          if (LinkNames(l, gone, named) || Is(l.m_drivingNode, gone, named)) return RefHit::Drop;
      }
      return Names(d.m_physicalDetailFilter, gone, named) ? RefHit::Drop : RefHit::None;
    },
    [](void* f, const IdSet& gone) {
      SourceDefinition& d = *static_cast<SourceDefinition*>(f);
      std::erase_if(d.m_logicalToPhysicalProjection, [&gone](const std::pair<Expr, Expr>& p) {
        return Names(p.first, gone) || Names(p.second, gone);
      });
      std::erase_if(d.m_joinSpec, [&gone](const GraphNode& n) { return gone.Has(n.m_nodeID); });
      for (GraphNode& n : d.m_joinSpec) {
        VoidID unused;
        std::erase_if(n.m_adjacentLinks, [&](const DirectedLink& l) { return LinkNames(l, gone, unused); });
        for (DirectedLink& l : n.m_adjacentLinks)
          if (gone.Has(l.m_drivingNode)) l.m_drivingNode = VoidID::NullID;
      }
      if (Names(d.m_physicalDetailFilter, gone)) d.m_physicalDetailFilter.Clear();
    }};

const ValueRefs kReplication{
    [](const void* f, const IdSet& gone, VoidID& named) {
      for (const auto& [key, table] : *static_cast<const ReplicationMap*>(f))
        if (Names(key, gone, named)) return RefHit::Drop;
      return RefHit::None;
    },
    [](void* f, const IdSet& gone) {
      std::erase_if(*static_cast<ReplicationMap*>(f), [&gone](const auto& entry) { return Names(entry.first, gone); });
    }};

using RoleMap = std::map<VoidID, RoleProps>;

// A role without its table or level leaves a join of one end: the join goes.
// The entry of a role that goes alone is dropped.
const ValueRefs kRoles{
    [](const void* f, const IdSet& gone, VoidID& named) {
      RefHit hit = RefHit::None;
      for (const auto& [role, props] : *static_cast<const RoleMap*>(f)) {
        if (Is(props.entity, gone, named)) return RefHit::TakeOwner;
        if (hit == RefHit::None && Is(role, gone, named)) hit = RefHit::Drop;
      }
      return hit;
    },
    [](void* f, const IdSet& gone) {
      RoleMap& m = *static_cast<RoleMap*>(f);
      std::erase_if(m, [&gone](const auto& entry) { return gone.Has(entry.first); });
      for (auto& [role, props] : m)
        if (gone.Has(props.entity)) props.entity = VoidID::NullID;
    }};

// Structured members that hold ids, by the class that declares them.
struct StructuredMember {
  TypeID cls;
  const char* prop;
  const ValueRefs* refs;
};
const StructuredMember kStructured[] = {
    {kTIDALogicalTableSource, "sourceDefinition", &kSourceDefinition},
    {kTIDATable, "replication", &kReplication},
    {kTIDARelationship, "roleProps", &kRoles},
};

// Members without which their owner cannot live.
struct OwnerRule {
  TypeID cls;
  const char* prop;
};
const OwnerRule kTakesOwner[] = {
    {kTIDAComplexJoin, "joinExpr"},
    {kTIDAComplexJoin, "externalJoinExpr"},
    {kTIDAAttribute, "attrDefnExpr"},
    {kTIDAAggrRule, "dimension"},
    {kTIDAOverrideAggrRule, "logicalTableSource"},
};

struct Member {
  const PropDesc* prop;
  const ValueRefs* refs;
  bool takesOwner;
};

const ValueRefs* RefsOf(const AMetaClass& cls, const PropDesc& p) {
  // The common members are the identity and the parent, which the gateway keeps.
  if (&cls == ARpObject::GetClassMetaClass()) return nullptr;
  switch (p.kind) {
    case PropKind::ID: return &kId;
    case PropKind::IDs: return &kIds;
    case PropKind::Expr: return &kExpr;
    case PropKind::Custom:
      for (const StructuredMember& s : kStructured)
        if (s.cls == cls.GetTypeID() && std::strcmp(s.prop, p.name) == 0) return s.refs;
      return nullptr;
    default: return nullptr;
  }
}

bool TakesOwner(const AMetaClass& cls, const PropDesc& p) {
  for (const OwnerRule& r : kTakesOwner)
    if (r.cls == cls.GetTypeID() && std::strcmp(r.prop, p.name) == 0) return true;
  return false;
}

// The members of each class that the walk looks into, base classes' first;
// made once for every class.
const std::vector<Member>& MembersOf(const AMetaClass* cls) {
  static const auto table = [] {
    std::unordered_map<const AMetaClass*, std::vector<Member>> t;
    for (const AMetaClass* c : AMetaClass::All()) {
      std::vector<Member>& members = t[c];
      c->ForEachClass([&members](const AMetaClass& k) {
        for (const PropDesc& p : k.OwnProperties())
          if (const ValueRefs* refs = RefsOf(k, p)) members.push_back({&p, refs, TakesOwner(k, p)});
      });
    }
    return t;
  }();
  static const std::vector<Member> none;
  auto it = table.find(cls);
  return it == table.end() ? none : it->second;
}

}  // namespace member_refs

RefHit FindMemberReferences(ARpObject& obj, const IdSet& gone, VoidID& named) {
  RefHit best = RefHit::None;
  for (const member_refs::Member& m : member_refs::MembersOf(obj.GetMetaClass())) {
    VoidID here;
    RefHit hit = m.refs->find(m.prop->field(obj), gone, here);
    if (hit == RefHit::Drop && m.takesOwner) hit = RefHit::TakeOwner;
    if (hit > best) {
      best = hit;
      named = here;
      if (best == RefHit::TakeOwner) break;
    }
  }
  return best;
}

void DropMemberReferences(ARpObject& obj, const IdSet& gone) {
  bool changed = false;
  for (const member_refs::Member& m : member_refs::MembersOf(obj.GetMetaClass())) {
    void* field = m.prop->field(obj);
    VoidID unused;
    if (m.refs->find(field, gone, unused) == RefHit::None) continue;
    m.refs->drop(field, gone);
    changed = true;
  }
  if (changed) MarkObjectDirty(obj);
}

bool RelationTakesOwner(RelID rel) { return rel == kRelComplexJoinTables; }

bool WalksMember(const AMetaClass* cls, const PropDesc& prop) {
  for (const member_refs::Member& m : member_refs::MembersOf(cls))
    if (m.prop == &prop) return true;
  return false;
}

}  // namespace qorl
