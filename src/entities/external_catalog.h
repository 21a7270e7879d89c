// ExternalCatalog describes one server catalog linked into the personal catalog: its id, GUID,
// its connection details as XML text and two run-time indications of reachability. A reference
// object (std::shared_ptr) with no XML form of its own. Not thread-safe: use an object from one
// thread at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace clipcat {

class ExternalCatalog {
 public:
  ExternalCatalog() = default;
  ExternalCatalog(const ExternalCatalog&) = delete;
  ExternalCatalog& operator=(const ExternalCatalog&) = delete;

  static std::shared_ptr<ExternalCatalog> Create() { return std::make_shared<ExternalCatalog>(); }

  // The catalog's row key in the personal catalog's external catalog table; 0 when not set.
  int32_t ID() const { return id_; }
  void SetID(int32_t lNewValue) { id_ = lNewValue; }

  const std::string& GUID() const { return guid_; }
  void SetGUID(std::string sNewValue) { guid_ = std::move(sNewValue); }

  // The linked catalog's ConnectionDetails XML.
  const std::string& ConnectionStringXML() const { return connection_string_xml_; }
  void SetConnectionStringXML(std::string sNewValue) {
    connection_string_xml_ = std::move(sNewValue);
  }

  bool IsOnline() const { return is_online_; }
  void SetIsOnline(bool bNewValue) { is_online_ = bNewValue; }

  int16_t ConnectionSpeed() const { return connection_speed_; }
  void SetConnectionSpeed(int16_t iNewValue) { connection_speed_ = iNewValue; }

 private:
  int32_t id_ = 0;
  std::string guid_;
  std::string connection_string_xml_;
  bool is_online_ = false;
  int16_t connection_speed_ = 0;
};

}  // namespace clipcat
