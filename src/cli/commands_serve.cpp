// serve: the HTTP/JSON gateway on the selected catalog until SIGINT or SIGTERM.
#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <cstdio>
#include <iostream>
#include <mutex>
#include <thread>

#include "cli/commands.h"
#include "gateway/gateway.h"

namespace clipcat::cli {

void ServeCommand(const Context& context, const ServeOptions& options) {
  gateway::GatewayOptions settings;
  settings.location = context.location;
  gateway::ParseListenAddress(options.listen, settings.host, settings.port);
  if (!options.token_file.empty()) settings.token = gateway::ReadTokenFile(options.token_file);
  settings.allow_origin = options.allow_origin;
  auto lines = std::make_shared<std::mutex>();
  settings.log = [lines](const std::string& line) {
    std::lock_guard<std::mutex> hold(*lines);
    std::fprintf(stderr, "%s\n", line.c_str());
  };

  // The signals are taken by one thread that stops the server; every other thread, the workers
  // made later included, has them blocked.
  sigset_t stop_signals;
  sigemptyset(&stop_signals);
  sigaddset(&stop_signals, SIGINT);
  sigaddset(&stop_signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &stop_signals, nullptr);

  const std::string host = settings.host;
  gateway::Gateway server(std::move(settings));
  server.Bind();
  const bool ipv6 = host.find(':') != std::string::npos;
  std::fprintf(stderr, "clipcat serve: listening on %s%s%s:%d (stop with Ctrl-C)\n",
               ipv6 ? "[" : "", host.c_str(), ipv6 ? "]" : "", server.port());
  std::atomic<bool> stopping = false;
  std::thread watcher([&server, &stopping, stop_signals] {
    int signal_number = 0;
    sigwait(&stop_signals, &signal_number);
    stopping = true;
    server.Stop();
  });
  server.Run();
  // Run returns after the watcher's Stop, or on its own when the socket fails: then the watcher
  // is sent the signal it waits for.
  if (!stopping) pthread_kill(watcher.native_handle(), SIGTERM);
  watcher.join();
  std::fprintf(stderr, "clipcat serve: stopped\n");
}

}  // namespace clipcat::cli
