/* SPDX-License-Identifier: MIT */
/**
 * @file
 * Puts two jobs into the main queue: one that goes ahead of everything that is queued already, one that goes to the
 * end.
 */
#include <stdio.h>

#include "VyxSSIBBackend.h"

/* Says what failed; returns 0 when nothing did, so that calls can be chained with "||". */
static int failed(const char *what, EFI_STATUS status) {
  /* SSIB_STATUS_ values have the top bit clear and still mean that nothing was written: only 0 is success here. */
  if (status == EFI_SUCCESS) return 0;
  fprintf(stderr, "producer: cannot %s: status 0x%08x\n", what, (unsigned)status);
  return 1;
}

/*
 * The library copies what it keeps, so records and texts may live on the stack. The strings of the record are not const
 * because the same record hands texts out; adding only reads them.
 */
static int add_jobs(SSIB2_PRIVATE_DATA *queue) {
  char command[] = "fan-test --full", task[] = "Diagnostics", category[] = "hardware", id[] = "JID_0001";
  char later_command[] = "collect-logs", later_task[] = "Housekeeping", later_category[] = "logs";

  /*
   * Cmd_Line, Task_Name and LU_Category should always be set: an entry that lacks one of them cannot be deleted again.
   */
  SSIB_ENTRY urgent = {
      .Block_ID = 1, .Timeout = 120, .Job_ID = id, .Cmd_Line = command, .Task_Name = task, .LU_Category = category};
  SSIB_ENTRY later = {.Block_ID = 2, .Cmd_Line = later_command, .Task_Name = later_task, .LU_Category = later_category};

  /* The mask says which optional fields hold something. It goes for all entries of one call, as the location does. */
  SSIB_ENTRY *first[] = {&urgent};
  if (failed("add the urgent job",
             iAddToSSIBQueue(queue, 1, first, SSIB_FIELD_TIMEOUT | SSIB_FIELD_JOB_ID, SSIB_ADD_APPEND_HI)))
    return 1;

  /* A Timeout of 0 becomes 600 in the list, and in the caller's record. */
  SSIB_ENTRY *second[] = {&later};
  return failed("add the later job", iAddToSSIBQueue(queue, 1, second, SSIB_FIELD_TIMEOUT, SSIB_ADD_APPEND_LO));
}

/*
 * A close releases the list even when it could not write it. Flushing first tells whether the jobs are safe, while they
 * are still in memory and something can be done about it.
 */
static int queue_jobs(SSIB2_PRIVATE_DATA *queue) {
  if (failed("open the queue", iOpenSSIB(queue, SSIB_MAIN_QUEUE))) return 1;
  const int lost = add_jobs(queue) || failed("write the queue", iFlushSSIBQueue(queue));
  return failed("close the queue", iCloseSSIB(queue)) || lost;
}

int main(void) {
  if (failed("start the library", vyxSSIB2LinuxInitBackend())) return 1;
  const int lost = queue_jobs(&gSSSIB2pvt);
  if (!lost) puts("queued 2 jobs");
  vyxSSIB2LinuxUnloadBackend();
  return lost;
}
