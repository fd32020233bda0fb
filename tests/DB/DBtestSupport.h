// What the back-end tests share: a body that shows an escaping COLerror's text, the ODBC driver
// manager loaded, and the transaction run every back end must pass.
#pragma once

#include <gtest/gtest.h>

#include "COLostream.h"
#include "DBdatabase.h"
#include "DBdatabaseOdbc.h"
#include "DBdialects.h"

// COLerror is no std::exception: show its text when one escapes a test body.
template <class Body>
void DBreporting(Body body) {
  try {
    body();
  } catch (const COLerror& error) {
    FAIL() << "COLerror: " << error.description().str();
  }
}

inline void DBloadDriverManager() {
  COLstring report;
  COLostream stream(report);
  DBdatabaseOdbc::initialize(stream);
  ASSERT_TRUE(DBdatabaseOdbc::isInitialized()) << report.str();
}

// A rolled-back insert leaves nothing and a committed one stays. The table has an integer key
// "id" and a "name" whose default is 'x', and is empty.
inline void DBkeepsOnlyTheCommittedRow(DBdatabase& database, const std::string& table) {
  database.beginTransaction();
  database.executeSqlString(("INSERT INTO " + table + " (id) VALUES (1)").c_str(), 0, 0);
  database.rollbackTransaction();
  EXPECT_FALSE(database.transactionActive());
  database.beginTransaction();
  database.executeSqlString(("INSERT INTO " + table + " (id) VALUES (2)").c_str(), 0, 0);
  database.commitTransaction();
  const DBresultSetPtr rows = database.executeSqlString(("SELECT id, name FROM " + table).c_str(), 0, 0);
  ASSERT_EQ(rows->countOfRow(), 1u);
  EXPECT_EQ(rows->value(0, "id"), DBvariant(2));
  EXPECT_EQ(rows->value(0, "name"), DBvariant("x"));
}
