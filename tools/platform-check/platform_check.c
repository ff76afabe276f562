/* SPDX-License-Identifier: MIT */
/**
 * @file
 * Says whether a platform keeps what libVyxSSIBBackend relies on, operation by operation. It is compiled with the
 * platform in question and without the library:
 *
 *     cc -std=c11 -o platform-check *_check*.c YOUR_PLATFORM.c [its libraries]
 *
 * and run on the target as the library's host will be. It writes and deletes one file of the partition, and sets one
 * attribute; checks.h has their names. Each check runs in a process of its own, so that one that crashes or hangs does
 * not hide the others. Exit status: 0 all hold, 1 some do not, 2 the checks could not be made.
 */
#define _GNU_SOURCE

#include <errno.h>
#include <signal.h>
#include <stdarg.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include "checks.h"

enum { SECONDS = 60 };

static int failures; /* of the check that runs */
static struct { int made, failed; } checks;

void expect(int holds, const char *otherwise, ...) {
  if (holds) return;
  ++failures;
  va_list values;
  va_start(values, otherwise);
  printf("     ");
  vprintf(otherwise, values); /* NOLINT(clang-analyzer-valist.Uninitialized): it was started */
  printf("\n");
  fflush(stdout); /* what comes next may crash */
  va_end(values);
}

/* The status of waitpid. */
static int run_in_child(const struct check *check) {
  fflush(stdout);
  const pid_t child = fork();
  if (child < 0) perror("platform-check: fork"), exit(2);
  if (child == 0) {
    alarm(SECONDS);
    check->run();
    fflush(stdout);
    _exit(failures > 0);
  }
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) continue;
  return status;
}

static void make(const struct check *check) {
  for (; check->name != NULL; ++check) {
    const int status = run_in_child(check);
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM) printf("     took more than %d s\n", SECONDS);
    if (WIFSIGNALED(status) && WTERMSIG(status) != SIGALRM) printf("     ended by signal %d\n", WTERMSIG(status));
    printf("%s %s\n", status == 0 ? "ok  " : "FAIL", check->name);
    varsk_fdelete_1(CHECK_PARTITION, CHECK_FILE);
    ++checks.made;
    if (status != 0) ++checks.failed;
  }
}

int main(void) {
  FILE *stream = NULL;
  if (varsk_fopen_1(CHECK_PARTITION, CHECK_FILE, "r", &stream) == EFI_SUCCESS && stream != NULL) {
    varsk_fclose_1(CHECK_PARTITION, stream, "r");
    fprintf(stderr, "platform-check: the partition has a file %ls, which the checks would lose\n", CHECK_FILE);
    return 2;
  }
  make(storage_checks);
  make(service_checks);
  if (find_service((EFI_GUID)VYX_XML_SERVICE_GUID) != NULL) make(xml_checks);
  printf("%d checks made, %d failed\n", checks.made, checks.failed);
  return checks.failed > 0;
}
