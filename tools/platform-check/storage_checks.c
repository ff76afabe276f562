/* SPDX-License-Identifier: MIT */
/* Partition storage, and what may be called while a file is open. */
#define _GNU_SOURCE

#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "checks.h"

enum { LARGE = 300000 };

struct text {
  char *bytes; /* null: the file could not be opened or read */
  size_t size;
};

static FILE *open_file(const char *mode) {
  FILE *stream = NULL;
  const EFI_STATUS status = varsk_fopen_1(CHECK_PARTITION, CHECK_FILE, mode, &stream);
  expect(stream == NULL || status == EFI_SUCCESS, "a stream comes with a failure status");
  expect(stream != NULL || EFI_ERROR(status), "a success status comes without a stream");
  return stream;
}

/* Ends the check when the file does not open. */
static FILE *required(const char *mode) {
  FILE *stream = open_file(mode);
  if (stream != NULL) return stream;
  expect(0, "the file does not open with \"%s\"", mode);
  exit(1);
}

/* As the library writes an XML queue: unbuffered, in one piece. Whether that worked is seen by what comes back. */
static void put(struct text text) {
  FILE *stream = open_file("w");
  if (stream == NULL) return;
  setvbuf(stream, NULL, _IONBF, 0);
  fwrite(text.bytes, 1, text.size, stream);
  varsk_fclose_1(CHECK_PARTITION, stream, "w");
}

/* As the library reads: as many bytes as getSize says, in one piece. */
static struct text get(void) {
  FILE *stream = open_file("r");
  if (stream == NULL) return (struct text){NULL, 0};
  struct text text = {NULL, getSize(stream)};
  text.bytes = malloc(text.size + 1);
  if (text.bytes == NULL || fread(text.bytes, 1, text.size, stream) != text.size) {
    free(text.bytes);
    text = (struct text){NULL, 0};
  }
  varsk_fclose_1(CHECK_PARTITION, stream, "r");
  return text;
}

static int has(struct text wanted) {
  struct text found = get();
  const int same =
      found.bytes != NULL && found.size == wanted.size && memcmp(found.bytes, wanted.bytes, wanted.size) == 0;
  free(found.bytes);
  return same;
}

static struct text large(void) {
  static char bytes[LARGE];
  for (size_t i = 0; i < sizeof(bytes); ++i) bytes[i] = (char)(i * 7 + i / 256);
  return (struct text){bytes, sizeof(bytes)};
}

static struct text old(void) {
  static char bytes[] = "the old contents";
  return (struct text){bytes, sizeof(bytes) - 1};
}

static void missing_file(void) {
  FILE *stream = stdout;
  const EFI_STATUS status = varsk_fopen_1(CHECK_PARTITION, CHECK_FILE, "r", &stream);
  expect(stream == NULL, "varsk_fopen_1 leaves the stream as it was when it opens nothing: it has to be null");
  expect(EFI_ERROR(status), "a missing file opens with success");
  expect(status != EFI_ACCESS_DENIED, "a missing file is EFI_ACCESS_DENIED: no queue could ever begin");
}

static void contents(void) {
  put(large());
  expect(has(large()), "what was written in one piece, with all byte values, does not come back");
  put(old());
  expect(has(old()), "a shorter file does not replace a longer one whole");
  put((struct text){"", 0});
  expect(has((struct text){"", 0}), "an empty file does not come back as one of size 0");
}

static void pieces(void) {
  char piece[4096];
  memset(piece, 'x', sizeof(piece) - 1);
  piece[sizeof(piece) - 1] = '\0';
  FILE *stream = required("w");
  for (int i = 0; i < 300; ++i) fputs(piece, stream);
  varsk_fclose_1(CHECK_PARTITION, stream, "w");
  struct text found = get();
  expect(found.size == 300 * (sizeof(piece) - 1), "1.2 MB in pieces of 4095 bytes do not come back");
  free(found.bytes);
}

static void size_and_position(void) {
  put(old());
  FILE *stream = required("r");
  expect(getSize(stream) == old().size, "getSize is not the file's size");
  expect(fgetc(stream) == old().bytes[0], "getSize moves the position: the library then reads less than the file");
  expect(getSize(stream) == old().size && fgetc(stream) == old().bytes[1], "getSize depends on the position");
  expect(CfgSetAttributeInt(CHECK_ATTRIBUTE, 6, 0) == 0, "CfgSetAttributeInt fails while a file is open");
  expect(fgetc(stream) == old().bytes[2], "CfgSetAttributeInt disturbs the file that is open");
  varsk_fclose_1(L"OTHER", stream, "r"); /* a host may have changed the name: the stream alone has to tell */
  expect(has(old()), "a close with another partition's name spoils the file");
}

static int is_refused(const wchar_t *name, const char *mode) {
  FILE *stream = NULL;
  const EFI_STATUS status = varsk_fopen_1(CHECK_PARTITION, name, mode, &stream);
  if (stream != NULL) varsk_fclose_1(CHECK_PARTITION, stream, mode);
  return stream == NULL && status == EFI_ACCESS_DENIED;
}

static void names(void) {
  static const wchar_t *const leading_out[] = {L"", L".", L"..", L"../platform-check.json", L"a/b", L"/tmp/x"};
  for (size_t i = 0; i < sizeof(leading_out) / sizeof(*leading_out); ++i) {
    expect(is_refused(leading_out[i], "r") && is_refused(leading_out[i], "w"),
           "the name \"%ls\", which leads out of the partition, is not refused with EFI_ACCESS_DENIED", leading_out[i]);
  }
}

/* Reading from a stream that is open for writing is an error of the stream; one that allows it loses its descriptor. */
static void stream_in_error(void) {
  put(old());
  FILE *stream = required("w");
  fputs("half of the new", stream);
  fgetc(stream);
  if (!ferror(stream)) close(fileno(stream));
  varsk_fclose_1(CHECK_PARTITION, stream, "w");
  expect(has(old()), "after a failed write the old contents are gone: the close has to look at ferror");
}

static void killed_writer(void) {
  put(old());
  fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    FILE *stream = open_file("w");
    if (stream != NULL) fputs("half of the new", stream), fflush(stream);
    kill(getpid(), SIGKILL);
  }
  waitpid(child, NULL, 0);
  expect(has(old()), "a writer that was killed leaves a torn file: \"w\" has to replace the file at the close");
  put(large());
  expect(has(large()), "after a writer was killed nothing can be written");
}

static void full_storage(void) {
  put(old());
  signal(SIGXFSZ, SIG_IGN);
  struct rlimit limit;
  getrlimit(RLIMIT_FSIZE, &limit);
  const struct rlimit small = {4096, limit.rlim_max};
  setrlimit(RLIMIT_FSIZE, &small);
  put(large());
  setrlimit(RLIMIT_FSIZE, &limit);
  expect(has(old()) || has(large()), "a write that the system cuts short leaves neither the old nor the new contents");
}

static void no_descriptors(void) {
  put(old());
  struct rlimit limit;
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = 0;
  setrlimit(RLIMIT_NOFILE, &limit);
  FILE *stream = NULL;
  const EFI_STATUS status = varsk_fopen_1(CHECK_PARTITION, CHECK_FILE, "r", &stream);
  expect(
      stream != NULL || status == EFI_ACCESS_DENIED,
      "a file that is there but cannot be opened is not EFI_ACCESS_DENIED: it would be overwritten as an empty queue");
  if (stream != NULL) varsk_fclose_1(CHECK_PARTITION, stream, "r");
}

static void deletion(void) {
  put(old());
  varsk_fdelete_1(CHECK_PARTITION, CHECK_FILE);
  missing_file();
  varsk_fdelete_1(CHECK_PARTITION, CHECK_FILE);
}

const struct check storage_checks[] = {
    {"varsk_fopen_1: a missing file", missing_file},
    {"varsk_fopen_1: names", names},
    {"varsk_fopen_1: no descriptor is left", no_descriptors},
    {"getSize, CfgSetAttributeInt: a file that is open", size_and_position},
    {"streams: contents come back", contents},
    {"streams: a task list's pieces", pieces},
    {"\"w\": a writer that is killed", killed_writer},
    {"varsk_fclose_1: a stream in error", stream_in_error},
    {"varsk_fclose_1: storage that is full", full_storage},
    {"varsk_fdelete_1", deletion},
    {NULL, NULL},
};
