// SPDX-License-Identifier: MIT
#pragma once

#include <cstdlib>

namespace ssib {

/** The value of an environment variable; null also when it is empty. */
inline const char *setting(const char *name) {
  const char *value = std::getenv(name);
  return value != nullptr && *value != '\0' ? value : nullptr;
}

}  // namespace ssib
