/* SPDX-License-Identifier: MIT */
/* Adds a job for each argument to the main queue, under the tool's lock, and prints each when it is on flash. */
#include <stdio.h>

#include "HostPlatform.h"
#include "VyxSSIBBackend.h"

static int add(SSIB2_PRIVATE_DATA *queue, char *id) {
  char command[] = "run", task[] = "Soak", category[] = "c";
  SSIB_ENTRY job = {.Job_ID = id, .Cmd_Line = command, .Task_Name = task, .LU_Category = category};
  SSIB_ENTRY *jobs[] = {&job};
  if (iAddToSSIBQueue(queue, 1, jobs, SSIB_FIELD_JOB_ID, SSIB_ADD_APPEND_LO) != EFI_SUCCESS) return 1;
  if (iFlushSSIBQueue(queue) != EFI_SUCCESS) return 1;
  puts(id);
  return fflush(stdout) != 0;
}

int main(int count, char **ids) {
  VYX_HOST_LOCK *lock = NULL;
  if (vyxSSIB2LinuxInitBackend() != EFI_SUCCESS) return 1;
  int failed = vyxHostLockPartition(sVarskPartition, VYX_HOST_FOREVER, &lock) != EFI_SUCCESS ||
               iOpenSSIB(&gSSSIB2pvt, SSIB_MAIN_QUEUE) != EFI_SUCCESS;
  for (int i = 1; i < count && !failed; ++i) failed = add(&gSSSIB2pvt, ids[i]);
  iCloseSSIB(&gSSSIB2pvt);
  vyxHostUnlockPartition(lock);
  vyxSSIB2LinuxUnloadBackend();
  return failed;
}
