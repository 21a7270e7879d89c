#include "engine/postgres_connect.h"

#include <poll.h>

#include <cerrno>
#include <charconv>
#include <chrono>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>

#include "engine/connection_string.h"
#include "engine/server_failures.h"
#include "util/errors.h"
#include "util/odbc_ini.h"
#include "util/probes.h"
#include "util/probes_internal.h"
#include "util/text.h"

namespace clipcat {
namespace {

using Clock = std::chrono::steady_clock;

// A server that answered gets this long to finish the handshake unless the connection details
// say otherwise ("connect_timeout", in seconds, as libpq reads it).
constexpr std::chrono::seconds kDefaultConnectTimeout{2};

// Defaults the connection details may override: a server that vanishes mid-statement is noticed
// within about five seconds (unacknowledged data, or an idle connection's keepalives).
const std::vector<std::pair<std::string, std::string>>& OverridableDefaults() {
  static const auto* defaults = new std::vector<std::pair<std::string, std::string>>{
      {"keepalives", "1"},       {"keepalives_idle", "2"},     {"keepalives_interval", "1"},
      {"keepalives_count", "3"}, {"tcp_user_timeout", "5000"},
  };
  return *defaults;
}

// Connection string keys (lower-cased) and the libpq keywords they set. Frozen: stored
// connection strings use them.
const std::map<std::string, std::string, std::less<>>& ProviderKeys() {
  static const auto* keys = new std::map<std::string, std::string, std::less<>>{
      {"host", "host"},
      {"server", "host"},
      {"data source", "host"},
      {"port", "port"},
      {"database", "dbname"},
      {"initial catalog", "dbname"},
      {"user id", "user"},
      {"uid", "user"},
      {"user", "user"},
      {"username", "user"},
      {"user name", "user"},
      {"password", "password"},
      {"pwd", "password"},
      {"ssl mode", "sslmode"},
      {"sslmode", "sslmode"},
      {"application name", "application_name"},
      {"connect timeout", "connect_timeout"},
      {"timeout", "connect_timeout"},
  };
  return *keys;
}

// odbc.ini keys (lower-cased, as OdbcIniSection gives them) of a PostgreSQL data source.
const std::map<std::string, std::string, std::less<>>& DataSourceKeys() {
  static const auto* keys = new std::map<std::string, std::string, std::less<>>{
      {"servername", "host"}, {"server", "host"},     {"port", "port"}, {"database", "dbname"},
      {"username", "user"},   {"uid", "user"},        {"user", "user"}, {"password", "password"},
      {"pwd", "password"},    {"sslmode", "sslmode"},
  };
  return *keys;
}

constexpr std::string_view kSearchPathKey = "search path";
constexpr std::string_view kDataSourceNameKey = "DSN";
constexpr std::string_view kOdbcProvider = "MSDASQL";

bool IsUri(std::string_view text) {
  const std::string trimmed = TrimSpaces(text);
  const std::string lower = ToLowerAscii(trimmed.substr(0, 13));
  return lower.rfind("postgresql://", 0) == 0 || lower.rfind("postgres://", 0) == 0;
}

bool ReadText(const std::string& path, std::string* text) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  std::ostringstream content;
  content << in.rdbuf();
  *text = content.str();
  return true;
}

// The definition of data source `name` in the first odbc.ini file that has one.
std::map<std::string, std::string> DataSourceDefinition(const std::string& name) {
  for (const std::string& path : DefaultOdbcIniPaths()) {
    std::string text;
    if (!ReadText(path, &text)) continue;
    auto section = OdbcIniSection(text, name);
    if (!section.empty()) return section;
  }
  throw AutomationError(err::kDatabaseError, kComponentSource,
                        "The data source \"" + name + "\" is not defined in any odbc.ini file.");
}

void AddProviderItems(const std::vector<std::pair<std::string, std::string>>& items,
                      PostgresParameters& parameters) {
  for (const auto& [key, value] : items) {
    const std::string lower = ToLowerAscii(key);
    if (lower == kSearchPathKey) {
      parameters.search_path = value;
      continue;
    }
    const auto found = ProviderKeys().find(lower);
    if (found != ProviderKeys().end()) parameters.keywords.emplace_back(found->second, value);
  }
}

// What libpq will be told about the server's whereabouts: the last non-empty values, with those
// a URI holds read as libpq reads them.
struct ServerTargets {
  std::string host;
  std::string hostaddr;
  std::string port;
  std::string connect_timeout;
};

ServerTargets TargetsOf(const PostgresParameters& parameters) {
  ServerTargets targets;
  const auto take = [&](std::string_view keyword, const std::string& value) {
    if (value.empty()) return;
    if (keyword == "host") targets.host = value;
    if (keyword == "hostaddr") targets.hostaddr = value;
    if (keyword == "port") targets.port = value;
    if (keyword == "connect_timeout") targets.connect_timeout = value;
  };
  bool first_dbname = true;
  for (const auto& [keyword, value] : parameters.keywords) {
    if (keyword == "dbname" && parameters.expand_dbname && first_dbname) {
      first_dbname = false;
      char* error = nullptr;
      PQconninfoOption* options = PQconninfoParse(value.c_str(), &error);
      if (error != nullptr) PQfreemem(error);
      if (options == nullptr) continue;  // libpq reports the malformed URI itself
      for (const PQconninfoOption* option = options; option->keyword != nullptr; ++option) {
        if (option->val != nullptr) take(option->keyword, option->val);
      }
      PQconninfoFree(options);
      continue;
    }
    take(keyword, value);
  }
  return targets;
}

std::vector<std::string> SplitList(const std::string& text) {
  std::vector<std::string> parts;
  size_t start = 0;
  while (true) {
    const size_t comma = text.find(',', start);
    parts.push_back(TrimSpaces(text.substr(start, comma - start)));
    if (comma == std::string::npos) break;
    start = comma + 1;
  }
  return parts;
}

// How long a server that answered gets to finish the handshake.
std::chrono::milliseconds HandshakeTimeout(const ServerTargets& targets) {
  int seconds = 0;
  const std::string& text = targets.connect_timeout;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
  if (text.empty() || error != std::errc() || end != text.data() + text.size() || seconds <= 0) {
    return kDefaultConnectTimeout;
  }
  return std::chrono::seconds(seconds);
}

// What names one server (or set of servers) for the failures remembered: every parameter.
std::string ServerKey(const PostgresParameters& parameters) {
  std::string key;
  for (const auto& [keyword, value] : parameters.keywords) {
    key += keyword;
    key += '=';
    key += value;
    key += '\0';
  }
  return key;
}

// True when every server the parameters name is a network host that the probe cannot reach.
// Name resolution happens inside the probe, under its time-out: libpq's own lookup could block
// for as long as the resolver likes. Sockets and numeric addresses need no lookup and are left
// to the bounded handshake.
bool NoServerAnswers(const ServerTargets& targets) {
  if (!targets.hostaddr.empty() || targets.host.empty()) return false;
  const std::vector<std::string> hosts = SplitList(targets.host);
  const std::vector<std::string> ports =
      targets.port.empty() ? std::vector<std::string>{} : SplitList(targets.port);
  for (size_t i = 0; i < hosts.size(); ++i) {
    const std::string& host = hosts[i];
    if (host.empty() || host.front() == '/' || host.front() == '@') return false;
    std::string port = "5432";
    if (ports.size() == 1) port = ports[0];
    if (i < ports.size() && ports.size() > 1) port = ports[i];
    uint16_t number = 0;
    const auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), number);
    if (error != std::errc() || end != port.data() + port.size() || number == 0) return false;
    ProbeOptions options;
    options.ports = {number};
    if (ProbeHost(host, options) != kHostUnreachable) return false;
  }
  return true;
}

// True once the server has taken the connection: from here on a failure is the server's answer.
bool ServerAnswered(ConnStatusType status) {
  return status != CONNECTION_STARTED && status != CONNECTION_NEEDED && status != CONNECTION_BAD;
}

// libpq's message on one line: it breaks its hints onto indented lines of their own.
std::string ConnectionMessage(const PGconn* conn) {
  std::string message;
  bool blank = false;
  for (const char c : std::string_view(conn != nullptr ? PQerrorMessage(conn) : "")) {
    if (c == '\n' || c == '\t' || c == ' ') {
      blank = !message.empty();
      continue;
    }
    if (blank) message += ' ';
    blank = false;
    message += c;
  }
  return message;
}

AutomationError Unreachable(const std::string& why) {
  return AutomationError(err::kCatalogCannotBeOpened, kComponentSource,
                         "The catalog server cannot be reached. " + why);
}

void IgnoreNotice(void* /*arg*/, const char* /*message*/) {}

// libpq refuses a malformed URI or port before it tries any server; that is the connection
// string's fault, not an unreachable server's.
void RequireReadableParameters(const PostgresParameters& parameters) {
  bool first_dbname = true;
  for (const auto& [keyword, value] : parameters.keywords) {
    if (keyword == "dbname" && parameters.expand_dbname && first_dbname) {
      first_dbname = false;
      char* error = nullptr;
      PQconninfoOption* options = PQconninfoParse(value.c_str(), &error);
      if (options != nullptr) PQconninfoFree(options);
      if (options == nullptr) {
        std::string message = error != nullptr ? error : "out of memory";
        if (error != nullptr) PQfreemem(error);
        while (!message.empty() && message.back() == '\n') message.pop_back();
        throw AutomationError(err::kDatabaseError, kPostgresSource, message);
      }
    }
  }
  const std::string port = TargetsOf(parameters).port;
  if (port.empty()) return;
  for (const std::string& part : SplitList(port)) {
    if (part.empty()) continue;  // the default port
    uint16_t number = 0;
    const auto [end, error] = std::from_chars(part.data(), part.data() + part.size(), number);
    if (error != std::errc() || end != part.data() + part.size()) {
      throw AutomationError(err::kDatabaseError, kPostgresSource,
                            "invalid port number: \"" + part + "\"");
    }
  }
}

}  // namespace

std::optional<PostgresParameters> PostgresParametersFor(const std::string& connection_string,
                                                        const std::string& user_name,
                                                        const std::string& password) {
  PostgresParameters parameters;
  parameters.keywords = OverridableDefaults();
  if (IsUri(connection_string)) {
    parameters.keywords.emplace_back("dbname", TrimSpaces(connection_string));
    parameters.expand_dbname = true;
  } else {
    const auto items = ConnectionStringItems(connection_string);
    const auto provider = ConnectionStringValue(connection_string, "Provider");
    const auto data_source = ConnectionStringValue(connection_string, kDataSourceNameKey);
    const bool odbc_provider = !provider || EqualsIgnoreCase(*provider, kOdbcProvider) ||
                               EqualsIgnoreCase(*provider, std::string(kOdbcProvider) + ".1");
    if (provider && EqualsIgnoreCase(*provider, kPostgresProvider)) {
      AddProviderItems(items, parameters);
    } else if (odbc_provider && data_source) {
      for (const auto& [key, value] : DataSourceDefinition(*data_source)) {
        const auto found = DataSourceKeys().find(key);
        if (found != DataSourceKeys().end()) parameters.keywords.emplace_back(found->second, value);
      }
      AddProviderItems(items, parameters);
    } else {
      return std::nullopt;
    }
  }
  // The store reads and writes UTF-8 text.
  parameters.keywords.emplace_back("client_encoding", "UTF8");
  parameters.keywords.emplace_back("fallback_application_name", "clipcat");
  if (!user_name.empty()) parameters.keywords.emplace_back("user", user_name);
  if (!password.empty()) parameters.keywords.emplace_back("password", password);
  return parameters;
}

PGconn* ConnectPostgres(const PostgresParameters& parameters) {
  RequireReadableParameters(parameters);
  const std::string key = ServerKey(parameters);
  if (auto remembered = RememberedServerFailure(key)) throw *remembered;
  const ServerTargets targets = TargetsOf(parameters);
  if (NoServerAnswers(targets)) {
    const AutomationError error = Unreachable("The host " + targets.host + " does not answer.");
    RememberServerFailure(key, error);
    throw error;
  }
  std::vector<const char*> keywords;
  std::vector<const char*> values;
  for (const auto& [keyword, value] : parameters.keywords) {
    keywords.push_back(keyword.c_str());
    values.push_back(value.c_str());
  }
  keywords.push_back(nullptr);
  values.push_back(nullptr);
  PGconn* conn =
      PQconnectStartParams(keywords.data(), values.data(), parameters.expand_dbname ? 1 : 0);
  if (conn == nullptr) {
    throw AutomationError(err::kDatabaseError, kPostgresSource, "out of memory");
  }
  PQsetNoticeProcessor(conn, &IgnoreNotice, nullptr);
  const Clock::time_point start = Clock::now();
  const std::chrono::milliseconds answer_timeout = ProbeOptions{}.time_out;
  const std::chrono::milliseconds handshake_timeout = HandshakeTimeout(targets);
  bool answered = ServerAnswered(PQstatus(conn));
  bool timed_out = false;
  PostgresPollingStatusType state =
      PQstatus(conn) == CONNECTION_BAD ? PGRES_POLLING_FAILED : PGRES_POLLING_WRITING;
  while (state != PGRES_POLLING_OK && state != PGRES_POLLING_FAILED) {
    const Clock::time_point deadline = start + (answered ? handshake_timeout : answer_timeout);
    const auto remaining =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    const int socket = PQsocket(conn);
    if (remaining.count() <= 0 || socket < 0) {
      timed_out = socket >= 0;
      break;
    }
    pollfd wait{socket, static_cast<short>(state == PGRES_POLLING_READING ? POLLIN : POLLOUT), 0};
    const int ready = poll(&wait, 1, static_cast<int>(remaining.count()) + 1);
    if (ready < 0 && errno == EINTR) continue;
    if (ready == 0) continue;  // the deadline check above ends the wait
    state = PQconnectPoll(conn);
    answered = answered || ServerAnswered(PQstatus(conn));
  }
  if (state == PGRES_POLLING_OK) {
    ForgetServerFailure(key);
    return conn;
  }
  std::string message = ConnectionMessage(conn);
  if (timed_out) {
    message = answered ? "The server did not complete the connection in time."
                       : "No server answered in time.";
  }
  PQfinish(conn);
  if (!answered || timed_out) {
    const AutomationError error =
        answered ? AutomationError(err::kCatalogCannotBeOpened, kComponentSource,
                                   "The catalog server does not answer. " + message)
                 : Unreachable(message);
    RememberServerFailure(key, error);
    throw error;
  }
  throw AutomationError(err::kDatabaseError, kPostgresSource, message);
}

}  // namespace clipcat
