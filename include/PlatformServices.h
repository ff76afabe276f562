/* SPDX-License-Identifier: MIT */
/**
 * @file
 * What the library needs of the firmware that it runs in.
 *
 * The functions below are undefined symbols of libVyxSSIBBackend.so: the program that links or loads it provides them.
 * The repository's stand-in, libVyxHostPlatform.so, is one provider; the firmware's own libraries are another. All
 * memory that crosses this border is the process heap: what one side allocates with malloc, calloc or strdup, the other
 * may free.
 */
#ifndef VYX_PLATFORM_SERVICES_H
#define VYX_PLATFORM_SERVICES_H

#include <stdint.h>
#include <stdio.h>
#include <wchar.h>

#if WCHAR_MAX < 0x10FFFF
#error "libVyxSSIBBackend has 4-byte wide characters: compile without -fshort-wchar"
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* What is declared here is exported by the library that defines it, however that library is compiled. */
#pragma GCC visibility push(default)

/** Records shared across the library's border have no padding: their byte offsets are its interface. */
#define VYX_PACKED __attribute__((packed))

/**
 * Pointer fields of packed records need not be aligned. A type marked so may be read, written, pointed at and referred
 * to wherever it lies; it mixes freely with the plain pointer type.
 */
#define VYX_UNALIGNED __attribute__((aligned(1)))

/** Result of every operation: 0 is success, a value with the top bit set is a failure. */
typedef uint32_t EFI_STATUS;

#define EFI_SUCCESS ((EFI_STATUS)0x00000000)           /**< done */
#define EFI_INVALID_PARAMETER ((EFI_STATUS)0x80000002) /**< an argument, or what a file holds, is not as it has to be */
#define EFI_DEVICE_ERROR ((EFI_STATUS)0x80000007)      /**< a device or the system failed */
#define EFI_OUT_OF_RESOURCES ((EFI_STATUS)0x80000009)  /**< no memory */
#define EFI_NOT_FOUND ((EFI_STATUS)0x8000000E)         /**< there is no such thing */
#define EFI_ACCESS_DENIED ((EFI_STATUS)0x8000000F)     /**< it is not permitted, or cannot be read for now */
#define EFI_ABORTED ((EFI_STATUS)0x80000015)           /**< given up, because of what was met on the way */
#define EFI_END_OF_FILE ((EFI_STATUS)0x8000001F)       /**< the end of the list */

/**
 * Non-zero when `status` is a failure by its highest bit. The failures of the library's own, SSIB_STATUS_NO_FILE for
 * example, do not have that bit: where only success will do, compare with EFI_SUCCESS.
 */
#define EFI_ERROR(status) ((((EFI_STATUS)(status)) & 0x80000000U) != 0)

/**
 * A GUID: 16 bytes, of which the first three groups are numbers in the machine's byte order.
 *
 * On a little-endian machine these are the bytes of the usual memory layout, and two GUIDs are compared with memcmp. A
 * porter to a big-endian machine, whose platform keeps GUIDs as 16 bytes in that layout, converts the first three
 * groups before comparing.
 */
typedef struct EFI_GUID {
  uint32_t Data1;   /**< first group */
  uint16_t Data2;   /**< second group */
  uint16_t Data3;   /**< third group */
  uint8_t Data4[8]; /**< the other two groups, byte for byte */
} EFI_GUID;

/** The debug-log service, as an initialiser. */
#define VYX_DEBUG_LOG_GUID                           \
  {                                                  \
    0xF50F3C1A, 0xE995, 0x4D59, {                    \
      0x86, 0x34, 0xD5, 0x7C, 0x5A, 0xC6, 0xD6, 0xAF \
    }                                                \
  }

/** The debug-log service, found by VYX_DEBUG_LOG_GUID. */
typedef struct DEBUG_LOG_PROTOCOL {
  void *Reserved[5]; /**< operations that the library does not use */

  /**
   * Writes a line.
   * @param level   0x800000 in every call of the library
   * @param tag     names the part of the library that speaks
   * @param format  a wide string, formatted with the values that follow: "%d" and "%x" take an int, "%s" a single-byte
   *                string, "%ls" a wide string, "%r" an EFI_STATUS. Strings are never null
   */
  void (*Print)(uint32_t level, const char *tag, const wchar_t *format, ...);
} DEBUG_LOG_PROTOCOL;

/**
 * UEFI-emulation service: finds the instances of a protocol.
 *
 * @param guid       the protocol
 * @param count      receives the number of instances; the caller presets it to 0
 * @param instances  receives an array of `count` instances on the process heap, which the caller frees; the instances
 *                   stay the platform's. The caller presets it to null
 * @retval EFI_SUCCESS  without an instance, `count` is 0 and there is no array. A count without an array is taken as
 *                      none
 * @return otherwise any status, when the search itself failed; nothing is handed out
 */
EFI_STATUS getProtocolInstanceByGuid(const EFI_GUID *guid, uint32_t *count, void ***instances);

/**
 * Partition storage: opens a file of a flash partition as a standard buffered stream.
 *
 * When reading, only EFI_ACCESS_DENIED keeps an existing file safe. Every other status without a stream, at the first
 * of the two opens with which the library reads a queue, is taken as "no such file": the queue opens as an empty one,
 * and the next flush or last close of an XML queue, or of a task list to which something was added, overwrites the
 * file. So the status for a file that exists or may exist, but cannot be opened (refused, damaged, a device or memory
 * that fails, a partition that is not mounted yet), is EFI_ACCESS_DENIED.
 *
 * @param partition  the partition's name
 * @param fileName   the file's name inside the partition
 * @param mode       "r" to read an existing file, "w" to replace its contents
 * @param stream     receives the stream, which varsk_fclose_1 closes; null when the file was not opened
 * @retval EFI_SUCCESS        with a stream
 * @retval EFI_ACCESS_DENIED  without a stream. When reading: whenever the file is not known to be missing. iOpenSSIB
 *                            returns it
 * @return otherwise any failure, without a stream. When reading: the file is missing; EFI_NOT_FOUND is the plain
 *         choice. When writing, all failures are alike
 */
EFI_STATUS varsk_fopen_1(const wchar_t *partition, const wchar_t *fileName, const char *mode, FILE **stream);

/**
 * Partition storage: closes a stream of varsk_fopen_1, always. The library ignores the result: a platform that
 * replaces a file only on a complete write keeps the old one when this fails.
 *
 * @param partition  where the file was opened, with one exception: the close of a task list that was read passes
 *                   sVarskPartition, although the open passed SSIB_PARTITION. The two differ when a client has changed
 *                   sVarskPartition, so the stream alone must tell which file is closed
 * @param stream     the stream
 * @param mode       that of the open
 * @return any status
 */
EFI_STATUS varsk_fclose_1(const wchar_t *partition, FILE *stream, const char *mode);

/**
 * Partition storage: deletes a file. The library ignores the result.
 * @return any status
 */
EFI_STATUS varsk_fdelete_1(const wchar_t *partition, const wchar_t *fileName);

/**
 * Partition storage: the size of the file of a stream that was opened with "r". Leaves the position where it was.
 * @return the size in bytes; 0 is an empty queue. UINT32_MAX when it cannot be found out: the open then fails with
 *         EFI_OUT_OF_RESOURCES
 */
uint32_t getSize(FILE *stream);

/**
 * Log service: one line of trace, in the manner of printf. The library writes one after every call of the partition
 * storage that opens, closes or deletes, with level 5 and verbosity 9; a wide string is announced by "%ls".
 * @return any value; the library ignores it
 */
int quorprintf(int level, int verbosity, const char *format, ...);

/**
 * Configuration service: sets the integer attribute `name`. The library passes 6 and 0, whose meaning is the service's.
 * @retval 0  the attribute is set
 * @return otherwise any value: it is not. The library logs that and goes on
 */
int CfgSetAttributeInt(const char *name, int kind, int value);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

#endif
