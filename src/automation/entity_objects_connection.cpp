#include "automation/entity_objects.h"
#include "automation/entity_objects_internal.h"

namespace clipcat {

// Reading IsPersonalCatalog through this table has the entity's side effect (it answers false
// and clears the stored flag): late-bound clients see the same object as C++ ones.
template <>
const MemberTable& EntityObject<ConnectionDetails>::Members() const {
  static const MemberTable table =
      internal::EntityTableBuilder<ConnectionDetails>()
          .ReadWrite("DataSourceType", &ConnectionDetails::DataSourceType,
                     &ConnectionDetails::SetDataSourceType)
          .ReadWrite("IsPersonalCatalog", &ConnectionDetails::IsPersonalCatalog,
                     &ConnectionDetails::SetIsPersonalCatalog)
          .ReadWrite("ClippingManagerServerName", &ConnectionDetails::ClippingManagerServerName,
                     &ConnectionDetails::SetClippingManagerServerName)
          .ReadWrite("ClippingSourceName", &ConnectionDetails::ClippingSourceName,
                     &ConnectionDetails::SetClippingSourceName)
          .ReadWrite("ConnectionString", &ConnectionDetails::ConnectionString,
                     &ConnectionDetails::SetConnectionString)
          .Xml()
          .Build();
  return table;
}

// An external catalog has no XML form of its own; ConnectionStringXML carries its connection.
template <>
const MemberTable& EntityObject<ExternalCatalog>::Members() const {
  static const MemberTable table =
      internal::EntityTableBuilder<ExternalCatalog>()
          .ReadWrite("ID", &ExternalCatalog::ID, &ExternalCatalog::SetID)
          .ReadWrite("GUID", &ExternalCatalog::GUID, &ExternalCatalog::SetGUID)
          .ReadWrite("ConnectionStringXML", &ExternalCatalog::ConnectionStringXML,
                     &ExternalCatalog::SetConnectionStringXML)
          .ReadWrite("IsOnline", &ExternalCatalog::IsOnline, &ExternalCatalog::SetIsOnline)
          .ReadWrite("ConnectionSpeed", &ExternalCatalog::ConnectionSpeed,
                     &ExternalCatalog::SetConnectionSpeed)
          .Build();
  return table;
}

}  // namespace clipcat
