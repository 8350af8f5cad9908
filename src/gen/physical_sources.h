// Fragments of the physical sources elements (database, connection pool,
// catalog, schema, display folder), and the attribute rows that their writers
// and handlers share.
#pragma once

#include <span>

#include "model/attr_table.h"
#include "store/object.h"

namespace qorl {

class ARpGateway;

// Own attributes in document order. A row without `get` or `set` is written
// or read outside the table: the pool's "password" (encrypted on the way out,
// decrypted by the handler) and the rows read together with another one.
std::span<const AttrRow<ADatabase>> DatabaseAttrRows();
std::span<const AttrRow<AConnectionPool>> ConnectionPoolAttrRows();
// The pool attributes whose values the hidden-value marker replaces when
// credentials are skipped.
bool IsPoolCredentialAttr(std::u32string_view name);

namespace QORLUtil {

VXString GetDatabaseXMLAttributes(const RefADatabase& database);
// "<Features>", one "<Feature name=.. value=../>" line per feature id, "</Features>".
VXString GetDatabaseFeatureXMLElements(const RefADatabase& database);
VXString GetDatabasePropertyXMLElements(const RefADatabase& database, int genOptions);

VXString GetConnectionPoolXMLAttributes(ARpGateway* pRp, const RefAConnectionPool& cp, bool bHidePassword,
                                        bool bSkipCredentials);
// The four script lists: after query, before query, post connect, pre disconnect.
VXString GetConnectionPoolConnectScripts(const RefAConnectionPool& cp, bool bIsTDFQORL, int genOptions);
VXString GetConnectStrings(const std::vector<std::pair<VXString, bool>>& strBoolVec, std::u32string_view sTagName,
                           bool bIsTDFQORL, int genOptions);
VXString GetConnectionPoolConfigParams(const RefAConnectionPool& cp, int genOptions, bool bIsTDFQORL);

}  // namespace QORLUtil

// The pool's texts that may name repository variables: the data source name,
// then the user name.
void PoolVariableTexts(const RefARpObject& pool, VXStringVector& texts);

}  // namespace qorl
