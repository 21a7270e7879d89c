# Web.Page where node was not found when the build was configured: a failure under CI, a skip
# elsewhere.
if("$ENV{CI}" AND NOT "$ENV{CI}" STREQUAL "false")
  message(FATAL_ERROR "The page's browser tests need node; scripts/install-deps installs it.")
endif()
message("SKIPPED: the page's browser tests need node; scripts/install-deps installs it.")
