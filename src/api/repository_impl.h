// What a public Repository holds: the store it opened and the path it was given.
#pragma once

#include <filesystem>
#include <memory>

#include "qorl/repository.h"
#include "store/gateway.h"

namespace qorl {

struct Repository::Impl {
  std::filesystem::path path;
  std::unique_ptr<ARpGateway> rp;  // null once closed

  ARpGateway& Gateway() const {
    if (!rp) throw Error(messages::kRepositoryClosed, {path.string()});
    return *rp;
  }
};

}  // namespace qorl
