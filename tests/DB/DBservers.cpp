#include "DBservers.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

std::string quoted(const std::string& text) { return "'" + text + "'"; }

// Runs a shell command; its output goes to `log` so that a failure can show it.
bool run(const std::string& command, const std::string& log) {
  return std::system((command + " >>" + quoted(log) + " 2>&1").c_str()) == 0;
}

std::string tail(const std::string& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  const std::string all = text.str();
  return all.size() > 1500 ? all.substr(all.size() - 1500) : all;
}

// A port on the loopback interface that nothing listens on now.
int freePort() {
  const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  int port = 0;
  if (bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
      getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length) == 0)
    port = ntohs(address.sin_port);
  close(socket);
  return port;
}

// The newest installed server's programs.
std::string serverPrograms() {
  std::string best;
  int bestVersion = 0;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator("/usr/lib/postgresql", error)) {
    const int version = std::atoi(entry.path().filename().c_str());
    const std::string bin = entry.path().string() + "/bin";
    if (version > bestVersion && std::filesystem::exists(bin + "/pg_ctl")) best = bin, bestVersion = version;
  }
  return best;
}

// A test program that died before its end left its server running: stop the servers whose
// program is gone, found by the process number each one's directory keeps.
void stopOrphans(const std::string& runAs, const std::string& bin) {
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator("/tmp", error)) {
    const std::string root = entry.path().string();
    if (entry.path().filename().string().rfind("msgbridge-pg-", 0) != 0) continue;
    std::ifstream in(root + "/owner.pid");
    long owner = 0;
    if (!(in >> owner) || owner <= 0 || kill(static_cast<pid_t>(owner), 0) == 0 || errno != ESRCH) continue;
    run(runAs + bin + "/pg_ctl -D " + quoted(root + "/data") + " -m immediate -w stop", "/dev/null");
    std::filesystem::remove_all(root, error);
  }
}

// Stops the servers when the program's tests are done.
class ServerStopper : public ::testing::Environment {
public:
  void TearDown() override {
    if (Server) Server->stop();
    if (Mariadb) Mariadb->stop();
  }
  DBpostgresServer* Server = nullptr;
  DBmariadbServer* Mariadb = nullptr;
};

ServerStopper* const Stopper = static_cast<ServerStopper*>(::testing::AddGlobalTestEnvironment(new ServerStopper));

}  // namespace

std::string DBsqliteConnectionString(const TSTtemporaryDirectory& directory, const std::string& file) {
  return "DRIVER=SQLite3;DATABASE=" + directory.path() + "/" + file;
}

DBpostgresServer* DBpostgresServer::instance(std::string& why) {
  static DBpostgresServer server;
  static bool tried = false;
  static std::string failure;
  if (!tried) {
    tried = true;
    if (server.start(failure)) Stopper->Server = &server;
  }
  why = failure;
  return server.m_Running ? &server : nullptr;
}

std::string DBpostgresServer::connectionString(bool unicodeDriver) const {
  const std::string common = ";SERVER=127.0.0.1;PORT=" + std::to_string(m_Port) + ";DATABASE=postgres";
  if (unicodeDriver) return "DRIVER=PostgreSQL Unicode" + common;
  // Without a client encoding of its own the session would check every text as UTF-8.
  return "DRIVER=PostgreSQL ANSI" + common + ";ConnSettings=SET client_encoding TO 'SQL_ASCII'";
}

bool DBpostgresServer::start(std::string& why) {
  m_Bin = serverPrograms();
  if (m_Bin.empty()) return why = "no server programs below /usr/lib/postgresql", false;
  char pattern[] = "/tmp/msgbridge-pg-XXXXXX";
  if (!mkdtemp(pattern)) return why = "no temporary directory", false;
  m_Root = pattern;
  const std::string log = m_Root + "/setup.log";
  // The server refuses to run as root: it runs as the system's postgres user then.
  if (geteuid() == 0) {
    const passwd* user = getpwnam("postgres");
    if (!user) return why = "running as root and there is no postgres user", false;
    if (chown(m_Root.c_str(), user->pw_uid, user->pw_gid) != 0) return why = "cannot hand " + m_Root + " over", false;
    m_RunAs = "runuser -u postgres -- ";
  }
  stopOrphans(m_RunAs, m_Bin);
  std::ofstream(m_Root + "/owner.pid") << getpid() << "\n";
  m_Port = freePort();
  if (m_Port == 0) return why = "no free loopback port", false;
  const std::string data = m_Root + "/data";
  // SQL_ASCII keeps every byte as it was sent, Latin-1 and UTF-8 alike.
  if (!run(m_RunAs + m_Bin + "/initdb -D " + quoted(data) +
               " -U msgbridge -A trust -E SQL_ASCII --locale=C --no-sync --no-instructions",
           log))
    return why = "initdb failed:\n" + tail(log), false;
  const std::string options = "-F -p " + std::to_string(m_Port) + " -k " + m_Root +
                              " -c listen_addresses=127.0.0.1 -c full_page_writes=off";
  if (!run(m_RunAs + m_Bin + "/pg_ctl -D " + quoted(data) + " -l " + quoted(m_Root + "/server.log") +
               " -w -t 60 -o " + quoted(options) + " start",
           log))
    return why = "pg_ctl start failed:\n" + tail(log) + tail(m_Root + "/server.log"), false;
  m_Running = true;
  return true;
}

void DBpostgresServer::stop() {
  if (m_Running) run(m_RunAs + m_Bin + "/pg_ctl -D " + quoted(m_Root + "/data") + " -m fast -w stop", m_Root + "/setup.log");
  m_Running = false;
  std::error_code error;
  if (!m_Root.empty()) std::filesystem::remove_all(m_Root, error);
  m_Root.clear();
}

// --- MariaDB

namespace {

std::string mariadbPid(const std::string& root) {
  std::ifstream in(root + "/server.pid");
  std::string pid;
  in >> pid;
  return pid;
}

// Servers whose test program died before stopping them.
void stopMariadbOrphans() {
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator("/tmp", error)) {
    const std::string root = entry.path().string();
    if (entry.path().filename().string().rfind("msgbridge-my-", 0) != 0) continue;
    std::ifstream in(root + "/owner.pid");
    long owner = 0;
    if (!(in >> owner) || owner <= 0 || kill(static_cast<pid_t>(owner), 0) == 0 || errno != ESRCH) continue;
    const std::string pid = mariadbPid(root);
    if (!pid.empty()) kill(static_cast<pid_t>(std::atol(pid.c_str())), SIGKILL);
    std::filesystem::remove_all(root, error);
  }
}

}  // namespace

DBmariadbServer* DBmariadbServer::instance(std::string& why) {
  static DBmariadbServer server;
  static bool tried = false;
  static std::string failure;
  if (!tried) {
    tried = true;
    if (server.start(failure))
      Stopper->Mariadb = &server;
    else
      server.stop();
  }
  why = failure;
  return server.m_Running ? &server : nullptr;
}

bool DBmariadbServer::administer(const std::string& sql) const {
  return run("mariadb --no-defaults -S " + quoted(m_Root + "/sock") + " -u root -e " + quoted(sql),
             m_Root + "/setup.log");
}

bool DBmariadbServer::start(std::string& why) {
  for (const char* program : {"/usr/sbin/mariadbd", "/usr/bin/mariadb-install-db", "/usr/bin/mariadb-admin"})
    if (!std::filesystem::exists(program)) return why = std::string(program) + " is not installed", false;
  stopMariadbOrphans();
  char pattern[] = "/tmp/msgbridge-my-XXXXXX";
  if (!mkdtemp(pattern)) return why = "no temporary directory", false;
  m_Root = pattern;
  const std::string log = m_Root + "/setup.log";
  std::ofstream(m_Root + "/owner.pid") << getpid() << "\n";
  // The server will not run as root: it runs as the system's mysql user then.
  if (geteuid() == 0) {
    const passwd* user = getpwnam("mysql");
    if (!user) return why = "running as root and there is no mysql user", false;
    if (chown(m_Root.c_str(), user->pw_uid, user->pw_gid) != 0) return why = "cannot hand " + m_Root + " over", false;
    m_RunAs = "runuser -u mysql -- ";
  }
  m_Port = freePort();
  if (m_Port == 0) return why = "no free loopback port", false;
  const std::string data = m_Root + "/data";
  if (!run(m_RunAs + "mariadb-install-db --no-defaults --datadir=" + quoted(data) +
               " --auth-root-authentication-method=normal --skip-test-db",
           log))
    return why = "mariadb-install-db failed:\n" + tail(log), false;
  // Small buffers and no syncing: the data is thrown away at the end.
  const std::string options = " --no-defaults --datadir=" + quoted(data) + " --socket=" + quoted(m_Root + "/sock") +
                              " --port=" + std::to_string(m_Port) + " --bind-address=127.0.0.1 --skip-name-resolve" +
                              " --pid-file=" + quoted(m_Root + "/server.pid") + " --log-error=" +
                              quoted(m_Root + "/server.log") +
                              " --innodb-buffer-pool-size=16M --innodb-log-file-size=4M --innodb-flush-method=nosync";
  if (!run("(" + m_RunAs + "/usr/sbin/mariadbd" + options + " </dev/null >/dev/null 2>&1 &)", log))
    return why = "mariadbd did not start:\n" + tail(log), false;
  m_Running = true;
  bool alive = false;
  for (int attempt = 0; attempt < 300 && !alive; ++attempt) {
    alive = run("mariadb-admin --no-defaults -S " + quoted(m_Root + "/sock") + " -u root ping", "/dev/null");
    if (!alive) usleep(100000);
  }
  if (!alive) return why = "mariadbd did not answer within 30 seconds:\n" + tail(m_Root + "/server.log"), false;
  if (!administer("CREATE DATABASE msgbridge; CREATE USER msgbridge IDENTIFIED BY \"secret\";"
                  " GRANT ALL ON *.* TO msgbridge"))
    return why = "the test user could not be made:\n" + tail(log), false;
  return true;
}

void DBmariadbServer::stop() {
  if (!m_Root.empty()) {
    const std::string pid = mariadbPid(m_Root);
    if (m_Running) run("mariadb-admin --no-defaults -S " + quoted(m_Root + "/sock") + " -u root shutdown", m_Root + "/setup.log");
    // mariadb-admin returns before the server has gone: wait for the process, then make sure.
    for (int attempt = 0; attempt < 100 && !pid.empty() && kill(static_cast<pid_t>(std::atol(pid.c_str())), 0) == 0;
         ++attempt)
      usleep(100000);
    if (!pid.empty() && kill(static_cast<pid_t>(std::atol(pid.c_str())), 0) == 0)
      kill(static_cast<pid_t>(std::atol(pid.c_str())), SIGKILL);
  }
  m_Running = false;
  std::error_code error;
  if (!m_Root.empty()) std::filesystem::remove_all(m_Root, error);
  m_Root.clear();
}
