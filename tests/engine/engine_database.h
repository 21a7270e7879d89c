// The fixture and helpers of the engine conformance tests: a test runs on a SQLite file database
// or on a database of the test process's PostgreSQL server, against a plain table Item of its own
// whose columns are of the kinds a catalog has.
#pragma once

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "engine/blob_field.h"
#include "engine/case_folding.h"
#include "engine/connection_string.h"
#include "engine/db_connection.h"
#include "engine/sql_tokenizer.h"
#include "support/postgres_test_server.h"
#include "util/date.h"
#include "util/date_locale.h"
#include "util/errors.h"
#include "util/temp_dir.h"
#include "util/values.h"

namespace clipcat::testing {

// The folding function the PostgreSQL backend looks for: one character map over every script.
inline std::string FoldFunctionStatement() {
  const CharacterMap& map = NonAsciiCaseFoldingMap().any;
  const std::string body =
      "SELECT pg_catalog.translate(pg_catalog.lower(sText COLLATE pg_catalog.\"C\"), " +
      QuoteStringLiteral(map.from) + ", " + QuoteStringLiteral(map.to) + ")";
  return "CREATE FUNCTION clipcat_fold(sText text) RETURNS text LANGUAGE sql IMMUTABLE AS " +
         QuoteStringLiteral(body);
}

// "ok", or the error `call` raised as "number source: description".
template <typename Call>
std::string Outcome(Call&& call) {
  try {
    call();
  } catch (const AutomationError& e) {
    return std::to_string(e.number()) + " " + e.source() + ": " + e.description();
  }
  return "ok";
}

// A value as "Type value": comparable, and readable when a comparison fails.
inline std::string Typed(const Variant& value) {
  static const char* const kTypes[] = {"Empty",  "Null", "Boolean", "Integer", "Long",
                                       "Double", "Date", "String",  "Object"};
  const std::string type = kTypes[static_cast<int>(value.type())];
  switch (value.type()) {
    case Variant::Type::kEmpty:
    case Variant::Type::kNull:
    case Variant::Type::kObject:
      return type;
    case Variant::Type::kDate:
      return type + " " + FormatIsoDate(value.ToDate());
    case Variant::Type::kDouble: {  // whole numbers with every digit
      char digits[400];
      const double number = value.ToDouble();
      const auto format =
          std::trunc(number) == number ? std::chars_format::fixed : std::chars_format::general;
      return type + " " +
             std::string(digits, std::to_chars(digits, std::end(digits), number, format).ptr);
    }
    default:
      return type + " " + value.ToText();
  }
}

// Every field of the current row of `rs` by Typed, each followed by "|".
inline std::string TypedRow(const Recordset& rs) {
  std::string row;
  for (int32_t i = 0; i < rs.FieldCount(); ++i) row += Typed(rs.Value(rs.FieldName(i))) + "|";
  return row;
}

// Adds a row through `rs` with the fields given; `data`, when given, goes to oData in pieces.
inline void AddRow(UpdatableRecordset& rs,
                   std::initializer_list<std::pair<std::string_view, Variant>> fields,
                   const std::optional<std::string>& data = std::nullopt) {
  rs.AddNew();
  for (const auto& [name, value] : fields) rs.SetValue(name, value);
  if (data) WriteBlobBytes(*data, rs, "oData");
  rs.Update();
}

inline Date At(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  return *Date::FromParts({year, month, day, hour, minute, second});
}

// The parameter is the engine's name, "SQLite" or "PostgreSQL".
class EngineDatabase : public ::testing::TestWithParam<std::string> {
 protected:
  bool OnServer() const { return GetParam() == "PostgreSQL"; }

  void SetUp() override {
    if (!OnServer()) {
      // An empty file is an empty SQLite database; the backend opens only files that exist.
      connection_string_ = FileCatalogConnectionString(dir_.Write("engine.db", ""));
    } else {
      CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
      server_ = server;
      const std::string database = server->CreateDatabase();
      // Text columns are citext, folded by the database's clipcat_fold as NOCASE folds on SQLite.
      ASSERT_EQ(server->Admin("CREATE EXTENSION citext", database), "");
      ASSERT_EQ(server->Admin(FoldFunctionStatement(), database), "");
      connection_string_ = server->ConnectionString(database);
    }
    db_.OpenConnection(connection_string_, "", "");
    db_.ExecuteSQL(std::string("CREATE TABLE Item (lId INTEGER PRIMARY KEY, iSmall SMALLINT, ") +
                   "nBig BIGINT, sName " +
                   (OnServer() ? "citext COLLATE \"C\"" : "TEXT COLLATE NOCASE") +
                   ", sCode TEXT, tWhen " + (OnServer() ? "timestamp(0)" : "DATETIME") +
                   ", bFlag BOOLEAN, dAmount DOUBLE PRECISION, oData " +
                   (OnServer() ? "bytea" : "BLOB") + ")");
  }

  // The first field of every row of `sql`, each followed by ",".
  std::string Column(const std::string& sql, DBConnection* db = nullptr) {
    std::string values;
    for (Recordset rs = (db != nullptr ? *db : db_).GetRecordsetRO(sql); !rs.Eof(); rs.MoveNext()) {
      const Variant value = rs.Value(rs.FieldName(0));
      values += (value.IsNull() ? "(null)" : value.ToText()) + ",";
    }
    return values;
  }
  std::string Where(const std::string& condition) {
    return Column("SELECT lId FROM Item WHERE " + condition + " ORDER BY lId");
  }
  std::string Keys(DBConnection* db = nullptr) {
    return Column("SELECT lId FROM Item ORDER BY lId", db);
  }
  void Add(int32_t key, const std::string& name = "") {
    db_.ExecuteSQL("INSERT INTO Item (lId, sName) VALUES (" + std::to_string(key) + ", " +
                   SqlText(name) + ")");
  }

  ScopedDateLocale locale_{DateLocale::English(DateOrder::kDayMonthYear)};
  TempDir dir_;
  PostgresTestServer* server_ = nullptr;
  std::string connection_string_;
  DBConnection db_;
};

}  // namespace clipcat::testing
