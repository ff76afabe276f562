/* SPDX-License-Identifier: MIT */
/**
 * @file
 * Puts an update job into the BIOS task list, or renews the one that is there for the same device.
 *   update_producer DISPLAY_NAME FQDD RESOURCE_URI TARGET_VERSION
 */
#include <stdio.h>
#include <string.h>

#include "VyxSSIBBackend.h"

static int failed(const char *what, EFI_STATUS status) {
  if (status == EFI_SUCCESS) return 0;
  fprintf(stderr, "update_producer: cannot %s: status 0x%08x\n", what, (unsigned)status);
  return 1;
}

/*
 * The task list is written without escapes: a value with one of these characters, or a longer one, would not read back,
 * and could take the list's other jobs with it. Whoever fills a task list keeps such values out.
 */
static int is_storable(const char *value) {
  if (strlen(value) > 4095) return 0;
  for (const char *at = value; *at != '\0'; ++at) {
    if ((unsigned char)*at < 0x20 || strchr("\"\\{}[]", *at) != NULL) return 0;
  }
  return 1;
}

/*
 * In a task list two entries are the same job when type, display name, device and namespace agree, so the new entry is
 * its own key. Entries keep the mode SSIB_MODE_DEFAULT, which is what those that were read from a file have: deleting
 * compares it.
 */
static EFI_STATUS renew_or_add(SSIB2_PRIVATE_DATA *queue, SSIB_ENTRY *job, int *renewed) {
  const EFI_STATUS status = iReplaceSSIBEntry(queue, job, job);
  *renewed = status == EFI_SUCCESS;
  if (status != EFI_NOT_FOUND) return status;
  /* The list drops the Job_ID of an entry whose mask does not have SSIB_FIELD_JOB_ID. */
  return iAddToSSIBQueue(queue, 1, &job, SSIB_FIELD_JOB_ID, SSIB_ADD_APPEND_LO);
}

/*
 * A task list that does not parse counts as open all the same, with an empty list, and needs a close. The close reports
 * EFI_INVALID_PARAMETER and leaves the damaged file alone, because an empty task list is never written.
 */
static int open_task_list(SSIB2_PRIVATE_DATA *queue) {
  const EFI_STATUS status = iOpenSSIB(queue, SSIB_MAIN_TASK_LIST);
  if (status != EFI_SUCCESS && queue->openCount != 0) iCloseSSIB(queue);
  return failed("open the task list", status);
}

static int queue_update(SSIB2_PRIVATE_DATA *queue, SSIB_ENTRY *job) {
  int renewed = 0;
  if (open_task_list(queue)) return 1;
  const int lost =
      failed("add the update", renew_or_add(queue, job, &renewed)) || failed("write the list", iFlushSSIBQueue(queue));
  const int unclosed = failed("close the task list", iCloseSSIB(queue));
  if (lost || unclosed) return 1;
  printf("%s: %s %s\n", renewed ? "already queued, now" : "queued", job->Display_Name, job->Target_Version);
  return 0;
}

int main(int argc, char **argv) {
  if (argc != 5) {
    fputs("usage: update_producer DISPLAY_NAME FQDD RESOURCE_URI TARGET_VERSION\n", stderr);
    return 2;
  }
  for (int i = 1; i < argc; ++i) {
    if (is_storable(argv[i])) continue;
    fprintf(stderr, "update_producer: a task list cannot hold argument %d\n", i);
    return 2;
  }
  char type[] = "UPDATE", resource_type[] = "image", name_space[] = "ns-main", id[] = "JID_UPDATE";
  SSIB_ENTRY job = {.Job_ID = id,
                    .Display_Name = argv[1],
                    .Job_Type = type,
                    .FQDD = argv[2],
                    .Resource_URI = argv[3],
                    .Resource_Type = resource_type,
                    .Resource_Namespace = name_space,
                    .Target_Version = argv[4]};
  if (failed("start the library", vyxSSIB2LinuxInitBackend())) return 1;
  const int lost = queue_update(&gSSSIB2pvt, &job);
  vyxSSIB2LinuxUnloadBackend();
  return lost;
}
