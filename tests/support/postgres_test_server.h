// A throwaway PostgreSQL server for tests: a cluster made by initdb in a temporary directory,
// listening only on a Unix socket in that directory, started on first use and stopped, directory
// and all, when the test process ends, even when it dies. One server per test process; tests
// create a database of their own on it. As root the server runs as the "postgres" user, since
// the server refuses to run as root. Used from the test thread only.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <libpq-fe.h>
#include <netinet/in.h>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace clipcat::testing {

// True when the PostgreSQL tests must run rather than skip: under CI.
inline bool PostgresTestsRequired() {
  const char* ci = std::getenv("CI");
  return ci != nullptr && std::string(ci) == "true";
}

class PostgresTestServer {
 public:
  // The role that logs in with a password (scram-sha-256) rather than being trusted.
  static constexpr const char* kPasswordRole = "clipcat_password";

  // The server of this process, started on first use; nullptr when none can be started, with
  // the reason in `why_not`. A failed start is not retried.
  static PostgresTestServer* Instance(std::string* why_not) {
    static std::string failure;
    static const std::unique_ptr<PostgresTestServer> server = [] {
      auto started = std::unique_ptr<PostgresTestServer>(new PostgresTestServer());
      failure = started->Start();
      if (!failure.empty()) started.reset();
      return started;
    }();
    if (server == nullptr && why_not != nullptr) *why_not = failure;
    return server.get();
  }

  ~PostgresTestServer() {
    if (watchdog_write_ >= 0) close(watchdog_write_);  // the watchdog stops the server
    if (watchdog_ > 0) {
      int status = 0;
      while (waitpid(watchdog_, &status, 0) < 0 && errno == EINTR) {
      }
    }
  }

  PostgresTestServer(const PostgresTestServer&) = delete;
  PostgresTestServer& operator=(const PostgresTestServer&) = delete;

  const std::string& socket_dir() const { return dir_; }

  // Stops the server with the shutdown `mode` ("fast" or "immediate"), as an administrator would;
  // answers "" or why it did not stop.
  std::string Stop(const std::string& mode) const {
    return Run(bin_ + "/pg_ctl -D " + dir_ + "/data -m " + mode + " -w stop", dir_ + "/stop.log");
  }

  // Starts the server again after Stop, on the same port; answers "" or why it did not start.
  std::string Restart() const { return Run(start_command_, dir_ + "/pg_ctl.log"); }

  // A streaming standby of this server: a base backup started on a port of its own, its socket
  // in the same directory. Answers "" or why it did not start. One standby per server.
  std::string StartStandby() {
    standby_port_ = FreePort();
    if (standby_port_ == 0) return "No free port number.";
    const std::string data = dir_ + "/standby";
    std::string failure = Run(bin_ + "/pg_basebackup -h " + dir_ + " -p " + std::to_string(port_) +
                                  " -U postgres -D " + data + " -R -X stream -c fast",
                              dir_ + "/basebackup.log");
    if (!failure.empty()) return failure;
    return Run(bin_ + "/pg_ctl -D " + data + " -l " + dir_ + "/standby.log -w -t 60 -o \"" +
                   "-c listen_addresses='' -k " + dir_ + " -p " + std::to_string(standby_port_) +
                   "\" start",
               dir_ + "/pg_ctl.log");
  }

  // Makes the standby a primary; answers "" or why not.
  std::string PromoteStandby() const {
    return Run(bin_ + "/pg_ctl -D " + dir_ + "/standby -w -t 60 promote", dir_ + "/promote.log");
  }

  int standby_port() const { return standby_port_; }
  int port() const { return port_; }

  // A new, empty database of its own; answers its name.
  std::string CreateDatabase() {
    const std::string name = "clipcat_test_" + std::to_string(++databases_);
    const std::string error = Admin("CREATE DATABASE " + name);
    if (!error.empty()) ADD_FAILURE() << "CREATE DATABASE " << name << ": " << error;
    return name;
  }

  // Runs `sql` as the superuser in `database` (of the standby when `standby`). Answers the
  // server's error, "" on success; the first value of a result goes to `value` when given.
  std::string Admin(const std::string& sql, const std::string& database = "postgres",
                    bool standby = false, std::string* value = nullptr) const {
    const std::string conninfo = standby
                                     ? "host=" + dir_ + " port=" + std::to_string(standby_port_) +
                                           " dbname=" + database + " user=postgres"
                                     : Conninfo(database);
    PGconn* conn = PQconnectdb(conninfo.c_str());
    std::string error;
    if (PQstatus(conn) != CONNECTION_OK) {
      error = PQerrorMessage(conn);
    } else {
      PGresult* result = PQexec(conn, sql.c_str());
      const ExecStatusType status = PQresultStatus(result);
      if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK) error = PQerrorMessage(conn);
      if (value != nullptr && status == PGRES_TUPLES_OK && PQntuples(result) > 0) {
        *value = PQgetvalue(result, 0, 0);
      }
      PQclear(result);
    }
    PQfinish(conn);
    return error;
  }

  // The libpq connection string of `database` for the superuser.
  std::string Conninfo(const std::string& database) const {
    return "host=" + dir_ + " port=" + std::to_string(port_) + " dbname=" + database +
           " user=postgres";
  }

  // "Provider=PostgreSQL;Host=<socket dir>;Port=<port>;Database=<database>;User ID=postgres".
  std::string ConnectionString(const std::string& database) const {
    return "Provider=PostgreSQL;Host=" + dir_ + ";Port=" + std::to_string(port_) +
           ";Database=" + database + ";User ID=postgres";
  }

  // The same database as a URI.
  std::string Uri(const std::string& database) const {
    return "postgresql://postgres@/" + database + "?host=" + dir_ +
           "&port=" + std::to_string(port_);
  }

  // A TCP port number on the loopback interface that nothing listens on at the moment.
  static int FreePort() {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    if (fd < 0) return 0;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    int port = 0;
    if (bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
        getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0) {
      port = ntohs(address.sin_port);
    }
    close(fd);
    return port;
  }

 private:
  PostgresTestServer() = default;

  static std::string BinDirectory() {
    std::string best;
    int best_version = -1;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/usr/lib/postgresql", error)) {
      const std::string version = entry.path().filename().string();
      const std::filesystem::path bin = entry.path() / "bin";
      if (!std::filesystem::exists(bin / "initdb") || !std::filesystem::exists(bin / "pg_ctl")) {
        continue;
      }
      const int number = std::atoi(version.c_str());
      if (number > best_version) {
        best_version = number;
        best = bin.string();
      }
    }
    return best;
  }

  static std::string Tail(const std::string& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    const std::string all = text.str();
    return all.size() > 2000 ? all.substr(all.size() - 2000) : all;
  }

  // Runs `command` in the server's directory, as the server's user; answers its log on failure.
  std::string Run(const std::string& command, const std::string& log) const {
    const std::string line = "cd " + dir_ + " && " + as_user_ + command + " > " + log + " 2>&1";
    if (std::system(line.c_str()) == 0) return "";
    return "\"" + command + "\" failed:\n" + Tail(log);
  }

  // Answers "" once the server runs, else why it does not.
  std::string Start() {
    const std::string bin = BinDirectory();
    if (bin.empty()) {
      return "No PostgreSQL server binaries in /usr/lib/postgresql/*/bin; install the "
             "postgresql package to run the PostgreSQL tests.";
    }
    const bool root = geteuid() == 0;
    const passwd* user = root ? getpwnam("postgres") : nullptr;
    if (root && user == nullptr) {
      return "Running as root and there is no \"postgres\" user to run the server as.";
    }
    // The server's user must reach the directory: as root, /tmp rather than root's own TMPDIR.
    std::string pattern =
        ((root ? std::filesystem::path("/tmp") : std::filesystem::temp_directory_path()) /
         "clipcat-pg-XXXXXX")
            .string();
    if (mkdtemp(pattern.data()) == nullptr) return "mkdtemp failed.";
    dir_ = pattern;
    if (root) {
      if (chown(dir_.c_str(), user->pw_uid, user->pw_gid) != 0) return "chown failed.";
      as_user_ = "runuser -u postgres -- ";
    }
    port_ = FreePort();
    if (port_ == 0) return "No free port number.";
    StartWatchdog(bin);
    const std::string data = dir_ + "/data";
    std::string failure =
        Run(bin + "/initdb -D " + data + " -A trust -U postgres -E UTF8 --locale=C --no-sync",
            dir_ + "/initdb.log");
    if (!failure.empty()) return failure;
    {
      std::ofstream hba(data + "/pg_hba.conf", std::ios::trunc);
      hba << "local all " << kPasswordRole << " scram-sha-256\n"
          << "local all all trust\n"
          << "local replication all trust\n";
      if (!hba) return "pg_hba.conf cannot be written.";
    }
    bin_ = bin;
    start_command_ = bin + "/pg_ctl -D " + data + " -l " + dir_ + "/server.log -w -t 60 -o \"" +
                     "-c listen_addresses='' -k " + dir_ + " -p " + std::to_string(port_) +
                     " -c fsync=off -c full_page_writes=off -c synchronous_commit=off\" start";
    failure = Run(start_command_, dir_ + "/pg_ctl.log");
    if (!failure.empty()) return failure + Tail(dir_ + "/server.log");
    return "";
  }

  // A child process that waits for this process to end, however it ends (its end of the pipe
  // then closes), and stops the server and removes the directory.
  void StartWatchdog(const std::string& bin) {
    const std::string command = as_user_ + bin + "/pg_ctl -D " + dir_ +
                                "/data -m immediate -w stop > /dev/null 2>&1; " + as_user_ + bin +
                                "/pg_ctl -D " + dir_ +
                                "/standby -m immediate -w stop > /dev/null 2>&1; rm -rf " + dir_;
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) return;
    const char* argv[] = {"/bin/sh", "-c", command.c_str(), nullptr};
    const pid_t pid = fork();
    if (pid == 0) {
      setsid();  // a signal to the test's process group must not end the watchdog too
      close(fds[1]);
      char byte;
      for (;;) {
        const ssize_t got = read(fds[0], &byte, 1);
        if (got == 0 || (got < 0 && errno != EINTR)) break;
      }
      execv("/bin/sh", const_cast<char* const*>(argv));
      _exit(127);
    }
    close(fds[0]);
    if (pid < 0) {
      close(fds[1]);
      return;
    }
    watchdog_ = pid;
    watchdog_write_ = fds[1];
  }

  std::string dir_;
  std::string bin_;
  std::string start_command_;
  int standby_port_ = 0;
  std::string as_user_;  // the command prefix that runs a program as the server's user
  int port_ = 0;
  int databases_ = 0;
  pid_t watchdog_ = -1;
  int watchdog_write_ = -1;
};

}  // namespace clipcat::testing

// Declares `server`, the process's PostgreSQL test server, or skips the test with the reason
// none can be started (fails it instead under CI, where the tests must run).
#define CLIPCAT_POSTGRES_SERVER_OR_SKIP(server)                                  \
  std::string server##_why_not;                                                  \
  ::clipcat::testing::PostgresTestServer* server =                               \
      ::clipcat::testing::PostgresTestServer::Instance(&server##_why_not);       \
  if (server == nullptr) {                                                       \
    if (::clipcat::testing::PostgresTestsRequired()) FAIL() << server##_why_not; \
    GTEST_SKIP() << "No PostgreSQL server for this test: " << server##_why_not;  \
  }
