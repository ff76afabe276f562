/* SPDX-License-Identifier: MIT */
/* Built into every program of a sanitizer build. The records' pointers are packed: on 64-bit words they need not be
   aligned, and leak detection looks at aligned ones alone unless it is asked to. */
const char *__lsan_default_options(void);

const char *__lsan_default_options(void) {
  return "use_unaligned=1";
}
