// The real databases the tests talk to: a SQLite file in a temporary directory, and a
// PostgreSQL and a MariaDB server that this test program starts once each, on first use, and
// stops at its end.
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

// A MariaDB server in a temporary data directory, on a loopback port and a socket of its own.
// It has a database "msgbridge" and a user "msgbridge" with the password "secret".
class DBmariadbServer {
public:
  static DBmariadbServer* instance(std::string& why);
  // "msgbridge@127.0.0.1:PORT", the back end's form of a data source.
  std::string dataSource() const { return "msgbridge@127.0.0.1:" + std::to_string(m_Port); }
  int port() const { return m_Port; }
  // Runs SQL as the server's administrator, through the command-line client.
  bool administer(const std::string& sql) const;
  void stop();

private:
  bool start(std::string& why);

  std::string m_Root, m_RunAs;
  int m_Port = 0;
  bool m_Running = false;
};

#define DB_REQUIRE_MARIADB(server)                                                          \
  std::string why_;                                                                         \
  DBmariadbServer* server = DBmariadbServer::instance(why_);                                \
  if (!server) {                                                                            \
    if (std::getenv("CI")) FAIL() << "the MariaDB server did not start: " << why_;          \
    GTEST_SKIP() << "the MariaDB server did not start: " << why_;                           \
  }
