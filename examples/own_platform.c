/* SPDX-License-Identifier: MIT */
/**
 * @file
 * A host that brings a platform of its own: it is linked with memory_platform.c in place of libVyxHostPlatform.so. It
 * keeps a job in a queue of each form and reads it back.
 */
#include <stdlib.h>

#include "VyxSSIBBackend.h"

static EFI_STATUS write_job(const wchar_t *name, SSIB_ENTRY *job) {
  EFI_STATUS status = iOpenSSIB(&gSSSIB2pvt, name);
  if (status != EFI_SUCCESS) return status;
  status = iAddToSSIBQueue(&gSSSIB2pvt, 1, &job, 0, SSIB_ADD_APPEND_LO);
  const EFI_STATUS closed = iCloseSSIB(&gSSSIB2pvt);
  return status != EFI_SUCCESS ? status : closed;
}

/* Of the texts, those that the form does not hold are null, and so are a task list's that were not written; an XML
 * queue gives back an empty category. */
static void release(SSIB_ENTRY *job) {
  free(job->Task_Name);
  free(job->LU_Category);
  free(job->Cmd_Line);
  free(job->Display_Name);
  free(job->Job_Type);
}

static EFI_STATUS read_job(const wchar_t *name) {
  SSIB_ENTRY job;
  EFI_STATUS status = iOpenSSIB(&gSSSIB2pvt, name);
  if (status != EFI_SUCCESS) return status;
  status = iGetSSIBNextEntry(&gSSSIB2pvt, &job);
  if (status == EFI_SUCCESS) {
    const char *text = job.Display_Name != NULL ? job.Display_Name : job.Task_Name;
    printf("%ls: %s\n", name, text != NULL ? text : "(no name)");
    release(&job);
  }
  const EFI_STATUS closed = iCloseSSIB(&gSSSIB2pvt);
  return status != EFI_SUCCESS ? status : closed;
}

int main(void) {
  char task[] = "Fan test", command[] = "fan-test --full", display[] = "Second device", type[] = "INVENTORY";
  SSIB_ENTRY xml_job = {.Task_Name = task, .Cmd_Line = command};
  SSIB_ENTRY task_list_job = {.Display_Name = display, .Job_Type = type};
  EFI_STATUS status = vyxSSIB2LinuxInitBackend();
  if (status == EFI_SUCCESS) status = write_job(SSIB_MAIN_QUEUE, &xml_job);
  if (status == EFI_SUCCESS) status = write_job(SSIB_MAIN_TASK_LIST, &task_list_job);
  if (status == EFI_SUCCESS) status = read_job(SSIB_MAIN_QUEUE);
  if (status == EFI_SUCCESS) status = read_job(SSIB_MAIN_TASK_LIST);
  vyxSSIB2LinuxUnloadBackend();
  if (status == EFI_SUCCESS) return 0;
  fprintf(stderr, "own_platform: status 0x%08x\n", (unsigned)status);
  return 1;
}
