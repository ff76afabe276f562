/* SPDX-License-Identifier: MIT */
/**
 * @file
 * A host that brings a platform of its own: the seven functions that the library needs, on a partition in memory. It is
 * enough for task lists. For XML queues the service at the end would have to read and write documents, too.
 *
 * The library takes the functions from whatever the program offers to its shared libraries, so the program is not
 * linked with libVyxHostPlatform.so, and with -rdynamic: without that a library that is loaded by dlopen would not find
 * them.
 */
#define _POSIX_C_SOURCE 200809L

#include <stdarg.h>
#include <stdlib.h>
#include <string.h>

#include "VyxSSIBBackend.h"

/* ---- Partition storage ------------------------------------------------------------------------------------------- */

enum { MAX_FILES = 4, MAX_NAME = 32 };

struct file {
  wchar_t name[MAX_NAME]; /* empty: the place is free */
  char *text;             /* null: nothing was written yet */
  size_t size;
};

static struct file files[MAX_FILES];

/* The library has one stream open at a time, and calls are serialised. */
static struct {
  struct file *file;
  const wchar_t *name;
  char *text; /* what is being written; the file gets name and text when the stream closes without an error */
  size_t size;
} current;

/* The file of that name; the first free place for the name ""; null when there is none. */
static struct file *find(const wchar_t *name) {
  for (int i = 0; i < MAX_FILES; ++i) {
    if (wcscmp(files[i].name, name) == 0) return &files[i];
  }
  return NULL;
}

static EFI_STATUS open_to_read(const wchar_t *name, FILE **stream) {
  current.file = find(name);
  /* Whatever is no EFI_ACCESS_DENIED counts as a file that is not there yet: an empty queue, which the next close
   * writes. So a file that is there but cannot be read for now gets no other status. */
  if (current.file == NULL || current.file->text == NULL) return EFI_NOT_FOUND;
  *stream = fmemopen(current.file->text, current.file->size, "r");
  return *stream == NULL ? EFI_ACCESS_DENIED : EFI_SUCCESS;
}

static EFI_STATUS open_to_write(const wchar_t *name, FILE **stream) {
  current.file = find(name);
  if (current.file == NULL) current.file = find(L"");
  if (current.file == NULL) return EFI_OUT_OF_RESOURCES;
  *stream = open_memstream(&current.text, &current.size);
  current.name = name; /* the caller's, and good until the stream is closed */
  return *stream == NULL ? EFI_DEVICE_ERROR : EFI_SUCCESS;
}

EFI_STATUS varsk_fopen_1(const wchar_t *partition, const wchar_t *fileName, const char *mode, FILE **stream) {
  *stream = NULL;
  if (wcscmp(partition, L"VAR025") != 0 || *fileName == L'\0' || wcslen(fileName) >= MAX_NAME) return EFI_ACCESS_DENIED;
  return strcmp(mode, "w") == 0 ? open_to_write(fileName, stream) : open_to_read(fileName, stream);
}

/* The library does not look at the status. What protects the old contents is that they go only when the new ones are
 * whole. */
EFI_STATUS varsk_fclose_1(const wchar_t *partition, FILE *stream, const char *mode) {
  (void)partition;
  int broken = ferror(stream);
  broken |= fclose(stream);
  if (strcmp(mode, "w") != 0) return EFI_SUCCESS;
  if (broken) {
    free(current.text);
    return EFI_DEVICE_ERROR;
  }
  wcscpy(current.file->name, current.name);
  free(current.file->text);
  current.file->text = current.text;
  current.file->size = current.size;
  return EFI_SUCCESS;
}

EFI_STATUS varsk_fdelete_1(const wchar_t *partition, const wchar_t *fileName) {
  (void)partition;
  struct file *file = find(fileName);
  if (file == NULL) return EFI_NOT_FOUND;
  free(file->text);
  *file = (struct file){.text = NULL};
  return EFI_SUCCESS;
}

uint32_t getSize(FILE *stream) {
  (void)stream;
  return (uint32_t)current.file->size;
}

/* ---- Logs and configuration: a host without either --------------------------------------------------------------- */

int quorprintf(int level, int verbosity, const char *format, ...) {
  (void)level, (void)verbosity, (void)format;
  return 0;
}

int CfgSetAttributeInt(const char *name, int kind, int value) {
  (void)name, (void)kind, (void)value;
  return 0;
}

/* ---- Services: the XML service must be there for the library to start -------------------------------------------- */

static EFI_STATUS parse(XML_SERVICE_PROTOCOL *service, const XML_STRING *image, XML_NODE **root) {
  (void)service, (void)image, (void)root;
  return EFI_ABORTED;
}

static EFI_STATUS serialize(XML_SERVICE_PROTOCOL *service, const XML_NODE *root, uint32_t flag, XML_STRING **image) {
  (void)service, (void)root, (void)flag, (void)image;
  return EFI_ABORTED;
}

static EFI_STATUS create(XML_SERVICE_PROTOCOL *service, const XML_STRING *name, XML_NODE **node) {
  (void)service, (void)name, (void)node;
  return EFI_ABORTED;
}

/* Never called: no node is ever made. */
static EFI_STATUS delete_tree(XML_SERVICE_PROTOCOL *service, XML_NODE *node) {
  (void)service, (void)node;
  return EFI_ABORTED;
}

static XML_SERVICE_PROTOCOL xml_service = {{NULL, NULL}, parse, serialize, create, delete_tree};

/* The array goes to the library, which frees it. No instance of a protocol is no error: there is no debug log here. */
EFI_STATUS getProtocolInstanceByGuid(const EFI_GUID *guid, uint32_t *count, void ***instances) {
  if (memcmp(guid, &gQuorEfiXMLProtocolGuid2, sizeof(*guid)) != 0) return EFI_SUCCESS;
  *instances = malloc(sizeof(**instances));
  if (*instances == NULL) return EFI_OUT_OF_RESOURCES;
  **instances = &xml_service;
  *count = 1;
  return EFI_SUCCESS;
}

/* ---- The host ---------------------------------------------------------------------------------------------------- */

static const wchar_t TASK_LIST[] = L"BIOS_task_list.json";

static EFI_STATUS write_job(SSIB2_PRIVATE_DATA *queue) {
  char name[] = "Second device", type[] = "INVENTORY", device[] = "dev-0002";
  SSIB_ENTRY job = {.Display_Name = name, .Job_Type = type, .FQDD = device};
  SSIB_ENTRY *jobs[] = {&job};
  EFI_STATUS status = iOpenSSIB(queue, TASK_LIST);
  if (status != EFI_SUCCESS) return status;
  status = iAddToSSIBQueue(queue, 1, jobs, 0, SSIB_ADD_APPEND_LO);
  const EFI_STATUS closed = iCloseSSIB(queue);
  return status != EFI_SUCCESS ? status : closed;
}

static EFI_STATUS read_job(SSIB2_PRIVATE_DATA *queue) {
  SSIB_ENTRY job;
  EFI_STATUS status = iOpenSSIB(queue, TASK_LIST);
  if (status != EFI_SUCCESS) return status;
  status = iGetSSIBNextEntry(queue, &job);
  if (status == EFI_SUCCESS) {
    /* The other texts were not written, so they are null. */
    printf("read back: %s\n", job.Display_Name != NULL ? job.Display_Name : "(no name)");
    free(job.Display_Name);
    free(job.Job_Type);
    free(job.FQDD);
  }
  const EFI_STATUS closed = iCloseSSIB(queue);
  return status != EFI_SUCCESS ? status : closed;
}

int main(void) {
  EFI_STATUS status = vyxSSIB2LinuxInitBackend();
  if (status == EFI_SUCCESS) status = write_job(&gSSSIB2pvt);
  if (status == EFI_SUCCESS) status = read_job(&gSSSIB2pvt);
  vyxSSIB2LinuxUnloadBackend();
  if (status != EFI_SUCCESS) {
    fprintf(stderr, "own_platform: status 0x%08x\n", (unsigned)status);
    return 1;
  }
  int count = 0;
  for (int i = 0; i < MAX_FILES; ++i) {
    if (files[i].text != NULL) ++count;
    free(files[i].text);
  }
  printf("%d file in memory\n", count);
  return 0;
}
