// The real databases the ODBC tests talk to: a SQLite file in a temporary directory, and a
// PostgreSQL server that this test program starts once, on first use, and stops at its end.
// A server that cannot start skips its tests with the reason; with CI set it fails them.
#pragma once

#include <string>

#include "../support/TSTfile.h"

// A connection string for a new SQLite database file in `directory`.
std::string DBsqliteConnectionString(const TSTtemporaryDirectory& directory, const std::string& file = "test.db");

class DBpostgresServer {
public:
  // The running server, started on the first call; null when it could not start, with the
  // reason in `why`.
  static DBpostgresServer* instance(std::string& why);
  // "DRIVER=...;SERVER=127.0.0.1;PORT=...;DATABASE=postgres".  The ANSI driver hands bytes
  // through as they are; the Unicode one speaks UTF-8 to the server.
  std::string connectionString(bool unicodeDriver = false) const;
  int port() const { return m_Port; }
  void stop();

private:
  bool start(std::string& why);

  std::string m_Root, m_Bin, m_RunAs;
  int m_Port = 0;
  bool m_Running = false;
};

// In a test: the server, or a skip (a failure when CI is set) that names the reason.
#define DB_REQUIRE_POSTGRES(server)                                                         \
  std::string why_;                                                                         \
  DBpostgresServer* server = DBpostgresServer::instance(why_);                              \
  if (!server) {                                                                            \
    if (std::getenv("CI")) FAIL() << "the PostgreSQL server did not start: " << why_;       \
    GTEST_SKIP() << "the PostgreSQL server did not start: " << why_;                        \
  }
