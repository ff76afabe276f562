// SPDX-License-Identifier: MIT
// How the stand-in fails: by an exception inside, by a status at each exported function.
#pragma once

#include <cerrno>
#include <exception>
#include <new>

#include "PlatformServices.h"

namespace vyx::platform {

struct Failure {
  EFI_STATUS status;
};

inline void require(bool condition, EFI_STATUS otherwise) {
  if (!condition) throw Failure{otherwise};
}

// What a failed system call means to a client of the partition storage. ENOTDIR: a directory of the path is
// another thing, so the file is missing as well.
inline Failure failureOf(int error) {
  if (error == ENOENT || error == ENOTDIR) return {EFI_NOT_FOUND};
  const bool isDenied = error == EACCES || error == EPERM || error == EROFS || error == ELOOP;
  return {isDenied ? EFI_ACCESS_DENIED : EFI_DEVICE_ERROR};
}

// Does the work of an exported function.
template <class Work>
EFI_STATUS statusOf(Work work) {
  try {
    work();
    return EFI_SUCCESS;
  } catch (const Failure &failure) {
    return failure.status;
  } catch (const std::bad_alloc &) {
    return EFI_OUT_OF_RESOURCES;
  } catch (const std::exception &) {
    return EFI_DEVICE_ERROR;
  }
}

}  // namespace vyx::platform
