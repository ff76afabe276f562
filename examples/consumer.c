/* SPDX-License-Identifier: MIT */
/**
 * @file
 * Hands the jobs of the main queue on, one by one, and removes each when it is done.
 */
#include <stdio.h>
#include <stdlib.h>

#include "VyxSSIBBackend.h"

static int failed(const char *what, EFI_STATUS status) {
  if (status == EFI_SUCCESS) return 0;
  fprintf(stderr, "consumer: cannot %s: status 0x%08x\n", what, (unsigned)status);
  return 1;
}

/* What a get or a peek hands out is the caller's: eleven strings, and a node that only its service can release. */
static void release(SSIB2_PRIVATE_DATA *queue, SSIB_ENTRY *entry) {
  free(entry->Job_ID);
  free(entry->Cmd_Line);
  free(entry->Task_Name);
  free(entry->LU_Category);
  free(entry->Display_Name);
  free(entry->Job_Type);
  free(entry->FQDD);
  free(entry->Resource_URI);
  free(entry->Resource_Type);
  free(entry->Resource_Namespace);
  free(entry->Target_Version);
  if (entry->Node != NULL) queue->XMLProto->DeleteTree(queue->XMLProto, entry->Node);
}

/*
 * Stands for what a consumer does with a job. Any text may be missing: the file did not have it, or there was no memory
 * for the copy.
 */
static int run(const SSIB_ENTRY *entry) {
  if (entry->Cmd_Line == NULL || entry->Task_Name == NULL) {
    fprintf(stderr, "consumer: job %u has no command or no task\n", (unsigned)entry->Block_ID);
    return 0;
  }
  printf("running [%s] for task %s, at most %u s\n", entry->Cmd_Line, entry->Task_Name, (unsigned)entry->Timeout);
  return 1;
}

/*
 * The removal follows the work, so a job whose removal could not be written comes again after the next start: jobs are
 * done at least once. Removing first would do them at most once.
 */
static int run_all(SSIB2_PRIVATE_DATA *queue, unsigned *done) {
  for (;;) {
    SSIB_ENTRY entry;
    const EFI_STATUS status = iGetSSIBNextEntry(queue, &entry);
    if (status == EFI_END_OF_FILE) return 0;
    if (failed("get a job", status)) return 1;
    /* The cursor stands on the next job already, so taking this one out of the list does not disturb the walk. */
    const int is_done = run(&entry);
    const int unremoved = is_done && failed("remove a job that is done", iRemoveFromSSIBQueue(queue, &entry));
    release(queue, &entry);
    if (unremoved) return 1;
    if (is_done) ++*done;
  }
}

static int consume(SSIB2_PRIVATE_DATA *queue, unsigned *done) {
  /* A queue that nobody has written yet opens as an empty one: no error. */
  if (failed("open the queue", iOpenSSIB(queue, SSIB_MAIN_QUEUE))) return 1;
  const int stopped = run_all(queue, done);
  return failed("close the queue", iCloseSSIB(queue)) || stopped;
}

int main(void) {
  unsigned done = 0;
  if (failed("start the library", vyxSSIB2LinuxInitBackend())) return 1;
  const int stopped = consume(&gSSSIB2pvt, &done);
  vyxSSIB2LinuxUnloadBackend();
  if (stopped) return 1;
  if (done == 0) {
    puts("no jobs");
  } else {
    printf("%u jobs done\n", done);
  }
  return 0;
}
