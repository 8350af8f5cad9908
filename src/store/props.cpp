#include "store/props.h"

namespace qorl {

void BlobWriter::PutString(const VXString& s) {
  // UTF-8 keeps blobs small; most names are ASCII.
  std::string utf8;
  s.AppendUTF8To(utf8);
  PutBytes(reinterpret_cast<const uint8_t*>(utf8.data()), utf8.size());
}

uint64_t BlobReader::GetVarint() {
  uint64_t v = 0;
  for (int shift = 0; shift < 64; shift += 7) {
    if (m_p >= m_end) { m_failed = true; return 0; }
    uint8_t b = *m_p++;
    v |= static_cast<uint64_t>(b & 0x7F) << shift;
    if (!(b & 0x80)) return v;
  }
  m_failed = true;
  return 0;
}

bool BlobReader::GetRaw(void* out, size_t n) {
  if (static_cast<size_t>(m_end - m_p) < n) { m_failed = true; m_p = m_end; return false; }
  std::memcpy(out, m_p, n);
  m_p += n;
  return true;
}

const uint8_t* BlobReader::Skip(size_t n) {
  if (static_cast<size_t>(m_end - m_p) < n) { m_failed = true; m_p = m_end; return nullptr; }
  const uint8_t* at = m_p;
  m_p += n;
  return at;
}

VXString BlobReader::GetString() {
  uint64_t n = GetVarint();
  const uint8_t* p = Skip(n);
  if (!p) return VXString();
  return VXString(std::string_view(reinterpret_cast<const char*>(p), n));
}

ByteVector BlobReader::GetBytes() {
  uint64_t n = GetVarint();
  const uint8_t* p = Skip(n);
  return p ? ByteVector(p, p + n) : ByteVector();
}

void SaveObjectProperties(const ARpObject& obj, ByteVector& out) {
  BlobWriter w(out);
  ByteVector value;
  obj.GetMetaClass()->ForEachClass([&](const AMetaClass& mc) {
    std::span<const PropDesc> props = mc.OwnProperties();
    if (props.empty()) return;
    w.PutSigned(mc.GetTypeID());
    w.PutVarint(props.size());
    for (const PropDesc& p : props) {
      value.clear();
      BlobWriter vw(value);
      p.save(obj, vw);
      w.PutVarint(p.id);
      w.PutBytes(value.data(), value.size());
    }
  });
}

bool LoadObjectProperties(ARpObject& obj, const uint8_t* data, size_t n) {
  BlobReader r(data, data + n);
  // Segments come base first, as SaveObjectProperties writes them; match each
  // to a class of the object's chain by type number and skip the unknown.
  std::vector<const AMetaClass*> chain;
  obj.GetMetaClass()->ForEachClass([&](const AMetaClass& mc) { chain.push_back(&mc); });
  while (!r.AtEnd() && !r.Failed()) {
    TypeID tid = static_cast<TypeID>(r.GetSigned());
    uint64_t count = r.GetVarint();
    const AMetaClass* mc = nullptr;
    for (const AMetaClass* c : chain)
      if (c->GetTypeID() == tid) mc = c;
    for (uint64_t i = 0; i < count && !r.Failed(); ++i) {
      uint64_t id = r.GetVarint();
      uint64_t len = r.GetVarint();
      const uint8_t* v = r.Skip(len);
      if (!v || !mc) continue;
      for (const PropDesc& p : mc->OwnProperties()) {
        if (p.id != id) continue;
        BlobReader vr(v, v + len);
        p.load(obj, vr);
        if (vr.Failed()) return false;
        break;
      }
    }
  }
  return !r.Failed();
}

void CopyObjectProperties(const ARpObject& from, ARpObject& to) {
  if (from.GetMetaClass() != to.GetMetaClass()) return;
  VXString oldName = to.m_name;
  VXUpgradeID oldUID = to.m_uid;
  from.GetMetaClass()->ForEachClass([&](const AMetaClass& mc) {
    for (const PropDesc& p : mc.OwnProperties()) {
      if (std::string_view(p.name) == "parent") continue;
      p.copy(from, to);
    }
  });
  // Go through the setter so the name index follows.
  VXString newName = to.m_name;
  to.m_name = oldName;
  to.SetName(newName);
  VXUpgradeID newUID = to.m_uid;
  to.m_uid = oldUID;
  to.SetUpgradeID(newUID);
  to.MarkDirty();
}

}  // namespace qorl
