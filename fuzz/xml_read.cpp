// SPDX-License-Identifier: MIT
// Any bytes as an XML queue file: refused without a trace, or read into a list that can be written and read again.
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const fuzz::Run run;
  test::platform().setFile(L"Main.ssib", fuzz::Bytes(data, size).rest());
  SSIB2_PRIVATE_DATA &handle = gSSSIB2pvt;
  const EFI_STATUS status = iOpenSSIB(&handle, L"Main.ssib");
  fuzz::checkHandle(handle);
  if (EFI_ERROR(status)) {
    fuzz::require(handle.openCount == 0 && handle.ssibFileName == nullptr, "a refused file is not open");
    return 0;
  }
  const std::size_t length = fuzz::lengthOf(handle);
  fuzz::require(iCloseSSIB(&handle) == EFI_SUCCESS, "what was read can be written");
  const std::string written = test::platform().file(L"Main.ssib");
  fuzz::require(iOpenSSIB(&handle, L"Main.ssib") == EFI_SUCCESS, "what was written can be read");
  fuzz::require(fuzz::lengthOf(handle) == length, "no entry is lost");
  iCloseSSIB(&handle);
  fuzz::require(test::platform().file(L"Main.ssib") == written, "the second writing is like the first");
  return 0;
}
