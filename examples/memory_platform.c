/* SPDX-License-Identifier: MIT */
/**
 * @file
 * A platform to start from: the seven functions that the library needs, on a partition in memory. Copy it, and put your
 * flash, logs and configuration in the place of what stands here. It has no XML service of its own and takes the
 * stand-in's, which is a library by itself: link with -lVyxXmlService -lexpat -lstdc++. For task lists alone any table
 * whose operations fail will do: the library asks only that there is one.
 *
 * The library takes the functions from whatever the program offers to its shared libraries, so the program is not
 * linked with libVyxHostPlatform.so, and with -rdynamic: without that a library that is loaded by dlopen would not find
 * them.
 */
#define _GNU_SOURCE /* fopencookie */

#include <stdlib.h>
#include <string.h>

#include "HostXmlService.h"
#include "VyxSSIBBackend.h"

/* ---- Partition storage ------------------------------------------------------------------------------------------- */

enum { MAX_FILES = 8, MAX_NAME = 64 };

struct file {
  wchar_t name[MAX_NAME]; /* empty: the place is free */
  char *text;             /* null: nothing was written yet */
  size_t size;
};

static struct file files[MAX_FILES];

/* The library has one stream open at a time, and calls are serialised. */
static struct {
  struct file *file;
  struct file next; /* what is being written; it takes the file's place when the stream closes without an error */
} current;

/* The file of that name; the first free place for the name ""; null when there is none. */
static struct file *find(const wchar_t *name) {
  for (int i = 0; i < MAX_FILES; ++i) {
    if (wcscmp(files[i].name, name) == 0) return &files[i];
  }
  return NULL;
}

/* A client has chosen the name: on a real file system one with a '/' or a leading dot leads out of the partition. */
static int is_name(const wchar_t *name) {
  return *name != L'\0' && *name != L'.' && wcschr(name, L'/') == NULL && wcslen(name) < MAX_NAME;
}

static EFI_STATUS open_to_read(const wchar_t *name, FILE **stream) {
  current.file = find(name);
  /* Whatever is not EFI_ACCESS_DENIED counts as a file that is not there yet: an empty queue, which the next close
   * writes. So a file that is there but cannot be read for now gets no other status. */
  if (current.file == NULL || current.file->text == NULL) return EFI_NOT_FOUND;
  *stream = fmemopen(current.file->text, current.file->size, "r");
  return *stream == NULL ? EFI_ACCESS_DENIED : EFI_SUCCESS;
}

/* A write that takes nothing is an error of the stream. */
static ssize_t append(void *cookie, const char *text, size_t size) {
  struct file *file = cookie;
  char *longer = realloc(file->text, file->size + size);
  if (longer == NULL) return 0;
  memcpy(longer + file->size, text, size);
  file->text = longer;
  file->size += size;
  return (ssize_t)size;
}

/* The library sets the stream unbuffered, which one of open_memstream does not survive. */
static EFI_STATUS open_to_write(const wchar_t *name, FILE **stream) {
  current.file = find(name);
  if (current.file == NULL) current.file = find(L"");
  if (current.file == NULL) return EFI_OUT_OF_RESOURCES;
  current.next = (struct file){.text = malloc(1)};
  if (current.next.text == NULL) return EFI_OUT_OF_RESOURCES;
  wcscpy(current.next.name, name);
  *stream = fopencookie(&current.next, "w", (cookie_io_functions_t){.write = append});
  if (*stream != NULL) return EFI_SUCCESS;
  free(current.next.text);
  return EFI_DEVICE_ERROR;
}

EFI_STATUS varsk_fopen_1(const wchar_t *partition, const wchar_t *fileName, const char *mode, FILE **stream) {
  *stream = NULL;
  if (wcscmp(partition, SSIB_PARTITION) != 0 || !is_name(fileName)) return EFI_ACCESS_DENIED;
  return strcmp(mode, "w") == 0 ? open_to_write(fileName, stream) : open_to_read(fileName, stream);
}

/* The library does not look at the status. What protects the old contents is that they go only when the new ones are
 * whole. */
EFI_STATUS varsk_fclose_1(const wchar_t *partition, FILE *stream, const char *mode) {
  (void)partition;
  int broken = ferror(stream);
  broken |= fclose(stream);
  if (strcmp(mode, "w") != 0) return EFI_SUCCESS;
  free(broken ? current.next.text : current.file->text);
  if (broken) return EFI_DEVICE_ERROR;
  *current.file = current.next;
  return EFI_SUCCESS;
}

EFI_STATUS varsk_fdelete_1(const wchar_t *partition, const wchar_t *fileName) {
  (void)partition;
  struct file *file = is_name(fileName) ? find(fileName) : NULL;
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

/* The array goes to the library, which frees it. No instance of a protocol is no error: there is no debug log here. */
EFI_STATUS getProtocolInstanceByGuid(const EFI_GUID *guid, uint32_t *count, void ***instances) {
  static const EFI_GUID xml = VYX_XML_SERVICE_GUID;
  *count = 0;
  *instances = NULL;
  if (memcmp(guid, &xml, sizeof(xml)) != 0) return EFI_SUCCESS;
  *instances = malloc(sizeof(**instances));
  if (*instances == NULL) return EFI_OUT_OF_RESOURCES;
  **instances = vyxHostXmlService();
  *count = 1;
  return EFI_SUCCESS;
}
