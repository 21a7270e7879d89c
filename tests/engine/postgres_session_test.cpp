// The PostgreSQL session's statement cache and round trips, on the test process's server: a
// statement is prepared once per connection and reused for other values, travels with its
// savepoint in one round trip, and a failed statement inside a transaction still undoes only
// itself.
#include "engine/postgres_session.h"

#include <gtest/gtest.h>

#include <string>

#include "engine/connection_string.h"
#include "support/postgres_test_server.h"
#include "util/errors.h"

namespace clipcat::testing {
namespace {

class PostgresSessionTest : public ::testing::Test {
 protected:
  void SetUp() override {
    CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
    const std::string database = server->CreateDatabase();
    const auto parameters = PostgresParametersFor(server->ConnectionString(database), "", "");
    ASSERT_TRUE(parameters.has_value());
    session_ = std::make_unique<PostgresSession>(*parameters);
    session_->RunStoreStatement("CREATE TABLE Item (lId integer PRIMARY KEY, sName text)");
    session_->RunStoreStatement("INSERT INTO Item (lId, sName) VALUES (1, 'one')");
    session_->RunStoreStatement("INSERT INTO Item (lId, sName) VALUES (2, 'two')");
  }

  // The first row's first value of `sql`, as text; "" without rows.
  std::string Value(const std::string& sql) {
    const PostgresResult result = session_->RunStoreStatement(sql);
    return PQntuples(result.get()) > 0 ? PQgetvalue(result.get(), 0, 0) : "";
  }

  // The statements the server holds prepared for this connection.
  std::string ServerPrepared(const std::string& like) {
    return Value("SELECT count(*) FROM pg_prepared_statements WHERE statement LIKE '" + like + "'");
  }

  std::unique_ptr<PostgresSession> session_;
};

TEST_F(PostgresSessionTest, StatementsDifferingInValuesArePreparedOnceAndReused) {
  EXPECT_EQ(Value("SELECT sName FROM Item WHERE lId = 1"), "one");
  const size_t prepared = session_->prepared_statements();
  const uint64_t before = session_->round_trips();
  EXPECT_EQ(Value("SELECT sName FROM Item WHERE lId = 2"), "two");
  EXPECT_EQ(Value("SELECT sName FROM Item WHERE lId = 3"), "");
  EXPECT_EQ(session_->round_trips() - before, 2U);  // one each, nothing prepared again
  EXPECT_EQ(session_->prepared_statements(), prepared);
  // The server holds the statement with its value as a parameter.
  EXPECT_EQ(ServerPrepared("SELECT sName FROM Item WHERE lId = $1"), "1");
  // Text values too, and a value that looks like SQL stays a value.
  EXPECT_EQ(Value("SELECT lId FROM Item WHERE sName = 'two'"), "2");
  EXPECT_EQ(Value("SELECT lId FROM Item WHERE sName = 'x'' OR ''1''=''1'"), "");
  EXPECT_EQ(ServerPrepared("SELECT lId FROM Item WHERE sName = $1"), "1");
}

TEST_F(PostgresSessionTest, InsideATransactionAStatementAndItsSavepointTakeOneRoundTrip) {
  session_->Run("BEGIN");
  EXPECT_EQ(Value("SELECT sName FROM Item WHERE lId = 1"), "one");
  const uint64_t before = session_->round_trips();
  session_->RunStoreStatement("UPDATE Item SET sName = 'uno' WHERE lId = 1");
  session_->RunStoreStatement("UPDATE Item SET sName = 'dos' WHERE lId = 2");
  EXPECT_EQ(session_->round_trips() - before, 2U);
  session_->Run("COMMIT");
  EXPECT_EQ(Value("SELECT sName FROM Item WHERE lId = 2"), "dos");
}

TEST_F(PostgresSessionTest, AFailedStatementInsideATransactionUndoesOnlyItself) {
  session_->Run("BEGIN");
  session_->RunStoreStatement("INSERT INTO Item (lId, sName) VALUES (3, 'three')");
  // Would add 3, 4 and 5, but 3 is taken: the statement stores none of them.
  const std::string failing = "INSERT INTO Item (lId, sName) SELECT lId + 2, sName FROM Item";
  for (int attempt = 0; attempt < 2; ++attempt) {  // prepared, then reused
    try {
      session_->RunStoreStatement(failing);
      ADD_FAILURE() << "a duplicate key was stored";
    } catch (const AutomationError& e) {
      EXPECT_EQ(e.number(), err::kDatabaseError);
      EXPECT_EQ(e.source(), "PostgreSQL");
    }
    EXPECT_EQ(session_->TransactionStatus(), PQTRANS_INTRANS);
  }
  session_->RunStoreStatement("INSERT INTO Item (lId, sName) VALUES (5, 'five')");
  session_->Run("COMMIT");
  EXPECT_EQ(Value("SELECT string_agg(lId::text, ',' ORDER BY lId) FROM Item WHERE lId > 0"),
            "1,2,3,5");
}

TEST_F(PostgresSessionTest, AChangedSchemaIsSeenByStatementsPreparedBefore) {
  EXPECT_EQ(Value("SELECT * FROM Item WHERE lId = 1"), "1");
  session_->RunStoreStatement("DROP TABLE Item");
  session_->RunStoreStatement("CREATE TABLE Item (sCode text, lId integer)");
  session_->RunStoreStatement("INSERT INTO Item (sCode, lId) VALUES ('a', 1)");
  EXPECT_EQ(Value("SELECT * FROM Item WHERE lId = 1"), "a");
  EXPECT_EQ(ServerPrepared("SELECT * FROM Item WHERE lId = $1"), "1");
}

TEST_F(PostgresSessionTest, AStatementTheServerCannotPrepareWithParametersRunsAsWritten) {
  // "$1 IS NULL" gives the parameter no type: the literal runs as written.
  EXPECT_EQ(Value("SELECT lId FROM Item WHERE 'x' IS NOT NULL AND lId = 2"), "2");
  session_->Run("BEGIN");
  EXPECT_EQ(Value("SELECT lId FROM Item WHERE 'x' IS NOT NULL AND lId = 1"), "1");
  EXPECT_EQ(session_->TransactionStatus(), PQTRANS_INTRANS);
  session_->Run("COMMIT");
}

TEST_F(PostgresSessionTest, CopyIsRefusedAndTheConnectionStaysUsable) {
  for (const bool in_transaction : {false, true}) {
    if (in_transaction) session_->Run("BEGIN");
    for (const char* copy : {"COPY Item TO STDOUT", "COPY Item FROM STDIN"}) {
      try {
        session_->RunStoreStatement(copy);
        ADD_FAILURE() << copy << " ran";
      } catch (const AutomationError& e) {
        EXPECT_EQ(e.number(), err::kDatabaseError) << copy;
      }
    }
    EXPECT_EQ(Value("SELECT sName FROM Item WHERE lId = 2"), "two");
    if (in_transaction) {
      EXPECT_EQ(session_->TransactionStatus(), PQTRANS_INTRANS);
      session_->Run("COMMIT");
    }
  }
}

}  // namespace
}  // namespace clipcat::testing
