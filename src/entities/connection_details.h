// ConnectionDetails says how to reach one catalog: the kind of data source, whether it is the
// user's personal catalog, server and source names and the connection string. A reference
// object (std::shared_ptr) that travels as XML in service parameters. Not thread-safe: use an
// object from one thread at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace clipcat {

class ConnectionDetails {
 public:
  ConnectionDetails() = default;
  ConnectionDetails(const ConnectionDetails&) = delete;
  ConnectionDetails& operator=(const ConnectionDetails&) = delete;

  static std::shared_ptr<ConnectionDetails> Create() {
    return std::make_shared<ConnectionDetails>();
  }

  // 1 file catalog, 2 server catalog, 3 clipping manager; 0 when not set.
  int32_t DataSourceType() const { return data_source_type_; }
  void SetDataSourceType(int32_t lNewValue) { data_source_type_ = lNewValue; }

  // Always answers false and, in doing so, resets the stored flag to false; only XML (until this
  // is read) carries a flag that was set. Code that must know whether a catalog is personal asks
  // DataSourceType instead.
  bool IsPersonalCatalog();
  void SetIsPersonalCatalog(bool bNewValue) { is_personal_catalog_ = bNewValue; }

  const std::string& ClippingManagerServerName() const { return server_name_; }
  void SetClippingManagerServerName(std::string sNewValue) { server_name_ = std::move(sNewValue); }

  const std::string& ClippingSourceName() const { return clipping_source_name_; }
  void SetClippingSourceName(std::string sNewValue) {
    clipping_source_name_ = std::move(sNewValue);
  }

  const std::string& ConnectionString() const { return connection_string_; }
  void SetConnectionString(std::string sNewValue) { connection_string_ = std::move(sNewValue); }

  // One "connectiondetails" element, e.g. <connectiondetails clippingsourcename="" servername=""
  // connectionstring="Provider=..." datasourcetype="1" ispersonalcatalog="true"/>, with the
  // stored personal-catalog flag. Raises 5 when a text holds a character XML cannot carry.
  std::string XML() const;

  // Reads ClippingSourceName, ConnectionString, DataSourceType and the stored personal-catalog
  // flag ("true"/"false" in any case, "Yes"/"No", numbers; anything else is false) from
  // `sNewValue`. ClippingManagerServerName keeps its value: "servername" is read but not
  // exposed. Raises 424 "Object required", changing nothing, for text that is not well formed or
  // whose root is not "connectiondetails"; 13 "Type mismatch" for a "datasourcetype" that is not
  // a number, after the texts have been replaced.
  void SetXML(const std::string& sNewValue);

 private:
  int32_t data_source_type_ = 0;
  bool is_personal_catalog_ = false;
  std::string server_name_;
  std::string clipping_source_name_;
  std::string connection_string_;
  // The "servername" of the last text read; the server name property does not take it, so that
  // a connection received as text never names a server the client did not set itself.
  std::string server_name_read_;
};

}  // namespace clipcat
