#!/usr/bin/env bash
# Installs everything qorl needs to build and test on Debian 12. Run as root.
set -euo pipefail
export DEBIAN_FRONTEND=noninteractive
apt-get update
apt-get install -y --no-install-recommends \
  g++ cmake ninja-build make pkg-config \
  libxerces-c-dev libsqlite3-dev libssl-dev libcli11-dev \
  libgtest-dev googletest libxml2-utils sqlite3
