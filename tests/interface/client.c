/* SPDX-License-Identifier: MIT */
/*
 * A client in strict C11 that calls each exported function and reads each exported object, on the real platform. Prints
 * the line of every expectation that does not hold.
 */
#include <stdlib.h>
#include <string.h>

#include "VyxSSIBBackend.h"

static int failures;

static void expect(int holds, int line) {
  if (holds) return;
  fprintf(stderr, "client.c:%d does not hold\n", line);
  ++failures;
}
#define EXPECT(condition) expect((condition), __LINE__)

static char command[] = "run --now", task[] = "Update", category[] = "cat", name[] = "Device", text[] = "text";

static SSIB_ENTRY xml_job(void) {
  SSIB_ENTRY job = {.Timeout = 600, .Cmd_Line = command, .Task_Name = task, .LU_Category = category};
  return job;
}

static SSIB_ENTRY task_job(void) {
  SSIB_ENTRY job = {.Display_Name = name,
                    .Job_Type = text,
                    .FQDD = text,
                    .Resource_URI = text,
                    .Resource_Type = text,
                    .Resource_Namespace = text};
  return job;
}

static void release(SSIB_ENTRY *entry) {
  free(entry->Cmd_Line);
  free(entry->Task_Name);
  free(entry->LU_Category);
}

static void check_start(void) {
  SSIB2_PRIVATE_DATA handle;
  void *service = NULL;
  EXPECT(memcmp(gSSSIB2pvt.signature, "ssib", 4) == 0 && vyxSsibDebug == gSSSIB2pvt.debugProto);
  EXPECT(FindAProtocol(&gQuorEfiXMLProtocolGuid2, &service) == EFI_SUCCESS && service == gSSSIB2pvt.XMLProto);
  EXPECT(FindAProtocol(&gEfiVyxSSIBProtocol2Guid, &service) == EFI_NOT_FOUND);
  EXPECT(gQuorDebugGUID.Data1 == 0xF50F3C1A && wcscmp(sVarskPartition, L"VAR025") == 0);
  EXPECT(Protocol2Constructor(&handle) == EFI_SUCCESS && handle.revision == 2);
  EXPECT(Protocol2Destructor(&handle) == EFI_SUCCESS && handle.revision == 0);
}

static void check_entries(SSIB2_PRIVATE_DATA *queue) {
  SSIB_ENTRY job = xml_job(), other = job, read;
  SSIB_ENTRY *jobs[] = {&job, &other};
  other.Block_ID = 7;
  EXPECT(iOpenSSIB(queue, L"sub.ssib") == EFI_SUCCESS);
  EXPECT(iAddToSSIBQueue(queue, 2, jobs, SSIB_FIELD_TIMEOUT, SSIB_ADD_APPEND_HI) == EFI_SUCCESS);
  EXPECT(iFlushSSIBQueue(queue) == EFI_SUCCESS && iCloseSSIB(queue) == EFI_SUCCESS);
  EXPECT(iMergeToMain(queue, L"sub.ssib", 1) == EFI_SUCCESS && iDeleteSSIB(queue, L"sub.ssib") == EFI_NOT_FOUND);

  EXPECT(iOpenSSIB(queue, L"Main.ssib") == EFI_SUCCESS);
  EXPECT(iPeekSSIBNextEntry(queue, &read) == EFI_SUCCESS && SSIBEntryCmp(queue, &job, &read) == 0);
  release(&read);
  EXPECT(iGetSSIBNextEntry(queue, &read) == EFI_SUCCESS && strcmp(read.Cmd_Line, command) == 0);
  release(&read);
  job.Version = 2;
  EXPECT(iReplaceSSIBEntry(queue, &other, &job) == EFI_SUCCESS);
  EXPECT(iRemoveFromSSIBQueue(queue, &job) == EFI_SUCCESS && iDeleteSSIBEntry(queue, &job) == EFI_INVALID_PARAMETER);
  EXPECT(iCloseSSIB(queue) == EFI_SUCCESS && iDeleteSSIB(queue, L"Main.ssib") == EFI_SUCCESS);
}

static void check_task_list(SSIB2_PRIVATE_DATA *queue) {
  SSIB_ENTRY job = task_job();
  EXPECT(iOpenSSIB(queue, L"list.json") == EFI_SUCCESS && iFlushToJSON(queue) == EFI_INVALID_PARAMETER);
  EXPECT(iParseFromJSON(queue, "[{\"DisplayName\":\"Device\"}]") == EFI_SUCCESS);
  EXPECT(iReplaceSSIBEntry(queue, &job, &job) == EFI_SUCCESS && iFlushToJSON(queue) == EFI_SUCCESS);
  EXPECT(iDeleteSSIBEntry(queue, &job) == EFI_SUCCESS && iCloseSSIB(queue) == EFI_INVALID_PARAMETER);
  EXPECT(iDeleteSSIB(queue, L"list.json") == EFI_SUCCESS);
}

static void check_list(void) {
  SSIB_LINK head = NULL;
  SSIB_ENTRY_LIST *element = le_new();
  le_insert_tail(&head, element);
  EXPECT(head == element && element != NULL && element->next == NULL);
  free(element);
}

static void check_texts(void) {
  char line[] = "  padded ", buffer[16];
  wchar_t wide[16];
  FILE *stream = tmpfile();
  if (stream == NULL) exit(1);
  fputs("first\nx", stream);
  rewind(stream);
  EXPECT(fgetline(buffer, sizeof(buffer), stream) == buffer && strcmp(buffer, "first") == 0);
  EXPECT(vyx_fgetc(stream) == 'x');
  EXPECT(vyx_fgetc(stream) == 0xFFFF);
  fclose(stream);
  strtrim(line, ' ');
  EXPECT(strcmp(line, "padded") == 0 && strnstr(line, "dd", 4) == line + 2);
  EXPECT(asciiToUnicode(line, wide, 16) == wide);
  char *narrow = unicodeToAscii(wide);
  narrow = smpl_realloc(narrow, 7, 64);
  EXPECT(narrow != NULL && strcmp(narrow, line) == 0);
  free(narrow);
}

int main(void) {
  if (vyxSSIB2LinuxInitBackend() != EFI_SUCCESS) return 1;
  check_start();
  check_entries(&gSSSIB2pvt);
  check_task_list(&gSSSIB2pvt);
  check_list();
  check_texts();
  EXPECT(vyxSSIB2LinuxUnloadBackend() == EFI_SUCCESS);
  return failures != 0;
}
