// Watches the statements store operations run: a database engine that writes down each statement
// and transaction step before the real engine runs it, and a recorder that opens a data access
// object's catalog through it. The statement texts are what other programs sharing a catalog, and
// the catalog's indexes, were built for, so tests pin them exactly. Used by one thread, like the
// connection it serves.
#pragma once

#include <functional>
#include <memory>
#include <regex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "store/backend_factory.h"
#include "store/data_access.h"
#include "store/data_access_internal.h"
#include "store/database_backend.h"

namespace clipcat::testing {

using Statements = std::vector<std::string>;

// Passes everything on to `engine` and appends each statement, and "<begin>", "<commit>" or
// "<rollback>" for each transaction step, to `*log` first.
class RecordingBackend : public DatabaseBackend {
 public:
  RecordingBackend(std::unique_ptr<DatabaseBackend> engine, Statements* log)
      : engine_(std::move(engine)), log_(log) {}

  std::string EngineName() const override { return engine_->EngineName(); }
  void Execute(std::string_view sql) override {
    log_->emplace_back(sql);
    engine_->Execute(sql);
  }
  RowSet Query(std::string_view sql) override {
    log_->emplace_back(sql);
    return engine_->Query(sql);
  }
  std::unique_ptr<RowCursor> OpenCursor(std::string_view sql) override {
    log_->emplace_back(sql);
    return engine_->OpenCursor(sql);
  }
  void BeginTransaction() override {
    log_->emplace_back("<begin>");
    engine_->BeginTransaction();
  }
  void CommitTransaction() override {
    log_->emplace_back("<commit>");
    engine_->CommitTransaction();
  }
  void RollbackTransaction() override {
    log_->emplace_back("<rollback>");
    engine_->RollbackTransaction();
  }
  void Close() override { engine_->Close(); }

 private:
  std::unique_ptr<DatabaseBackend> engine_;
  Statements* log_;
};

// `sql` with its catalog dates and quoted GUIDs, which change from run to run, replaced by the
// placeholders <date> and <guid>.
inline std::string Normalised(const std::string& sql) {
  static const std::regex kDate("'[0-9]{2}:[0-9]{2}:[0-9]{2} [0-9]{1,2} [^ ']+ [0-9]{4}'");
  static const std::regex kGuid("'[0-9A-F]{32}'");
  return std::regex_replace(std::regex_replace(sql, kDate, "<date>"), kGuid, "<guid>");
}

// Records what one data access object runs. The recorder must outlive every statement the object
// runs on the catalog Record opened (closing that catalog runs none); a CloseCatalog and reopen
// goes back to the ordinary engine.
class StatementRecorder {
 public:
  StatementRecorder() = default;
  StatementRecorder(const StatementRecorder&) = delete;
  StatementRecorder& operator=(const StatementRecorder&) = delete;

  // Opens the catalog of `access` (with its kept settings) through a RecordingBackend writing
  // into this recorder. Raises what opening the catalog raises.
  void Record(DataAccess& access) {
    Statements* log = &log_;
    DataAccessInternal::OpenCatalogThrough(
        access,
        [log](const std::string& connection_string, const std::string& user_name,
              const std::string& password) -> std::unique_ptr<DatabaseBackend> {
          return std::make_unique<RecordingBackend>(
              OpenBackend(connection_string, user_name, password), log);
        });
  }

  // The steps `call` runs, in order, each Normalised.
  Statements Run(const std::function<void()>& call) {
    log_.clear();
    call();
    Statements statements;
    for (const std::string& sql : log_) statements.push_back(Normalised(sql));
    return statements;
  }

  // The steps since the last Run began, as the engine received them.
  const Statements& log() const { return log_; }

 private:
  Statements log_;
};

}  // namespace clipcat::testing
