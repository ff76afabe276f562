/* SPDX-License-Identifier: MIT */
/**
 * @file
 * What the stand-in platform, libVyxHostPlatform.so, offers beyond the services that the library needs: to programs
 * that look after the queues of a host, such as the tool ssib. The library uses none of it.
 *
 * A platform of another kind need not have these functions. A program that is to run on both declares them weak and
 * looks whether they are there.
 *
 * Arguments stay the caller's and are only read. What is handed out is on the process heap, and released with free
 * unless a function is named for it. Every out-parameter is null after a failure. Where nothing else is said, the
 * failures are EFI_INVALID_PARAMETER for a null argument and EFI_OUT_OF_RESOURCES without memory.
 */
#ifndef VYX_HOST_PLATFORM_H
#define VYX_HOST_PLATFORM_H

#include "PlatformServices.h"

#ifdef __cplusplus
extern "C" {
#endif

/* What is declared here is exported by the library that defines it, however that library is compiled. */
#pragma GCC visibility push(default)

/** The file of a partition's directory that stands for its lock. */
#define VYX_HOST_LOCK_NAME ".lock"

/** Time limit of a lock that is waited for until it is there. */
#define VYX_HOST_FOREVER UINT32_MAX

/** Status of a lock that another one holds. */
#define VYX_HOST_TIMEOUT ((EFI_STATUS)0x80000012)

/** A lock that is held. */
typedef struct VYX_HOST_LOCK VYX_HOST_LOCK;

/**
 * Where a partition lies: $VARSK_ROOT/PARTITION, else $XDG_STATE_HOME/varsk/PARTITION, else
 * $HOME/.local/state/varsk/PARTITION. Whether the directory is there is not looked at; the first write makes it.
 *
 * @param partition  the partition's name
 * @param path       receives the path, in UTF-8 as far as the environment's values are
 * @retval EFI_ACCESS_DENIED  the name is empty, begins with a dot, has a '/', is longer than a file name may be or is
 *                            not Unicode text
 * @retval EFI_DEVICE_ERROR   none of the three variables is set
 */
EFI_STATUS vyxHostPartitionPath(const wchar_t *partition, char **path);

/**
 * Locks a partition against all others who lock it, in this process and in others. The lock is advisory: the partition
 * storage does not look at it. It ends with vyxHostUnlockPartition, at the latest with the process; a child that was
 * forked meanwhile holds it too, until it ends or runs another program.
 *
 * The directory and the lock's file are made when they are missing; both belong to the owner of the directory above
 * where the system permits that.
 *
 * @param partition     the partition's name
 * @param milliseconds  how long another holder is waited for: 0 to try once, VYX_HOST_FOREVER without limit
 * @param lock          receives the lock
 * @retval VYX_HOST_TIMEOUT   another one holds the lock
 * @retval EFI_ACCESS_DENIED  no permission; the partition is not a directory, or the lock's file not a regular file
 * @retval EFI_DEVICE_ERROR   any other failure
 */
EFI_STATUS vyxHostLockPartition(const wchar_t *partition, uint32_t milliseconds, VYX_HOST_LOCK **lock);

/** Gives a lock back; null is allowed. */
void vyxHostUnlockPartition(VYX_HOST_LOCK *lock);

/**
 * Whether the partition storage has made the last change of this process durable: what the last close of a stream that
 * was open for writing, or the last deletion, returned. The library does not pass that on.
 *
 * @retval EFI_SUCCESS  there was none yet, or it outlasts a power loss, as far as VARSK_SYNC asks for that
 * @return otherwise the failure; the change may have been made all the same
 */
EFI_STATUS vyxHostWriteStatus(void);

/**
 * The name of a status in the headers, "EFI_NOT_FOUND" for example.
 *
 * @return a text that lives as long as the stand-in is loaded; null for a status without a name
 */
const char *vyxHostStatusName(EFI_STATUS status);

/**
 * A text as it may be given to a terminal: well-formed UTF-8 without control characters. Line feed, carriage return and
 * tab appear as `\n`, `\r` and `\t`, a backslash doubled; of other control characters, and where there is no UTF-8,
 * each byte as `\xNN`.
 *
 * @param text  NUL-terminated bytes
 * @param safe  receives the new text
 */
EFI_STATUS vyxHostTerminalText(const char *text, char **safe);

/**
 * The wide form of a UTF-8 text, in which files and partitions are named.
 *
 * @param text  NUL-terminated UTF-8
 * @param wide  receives the wide text
 * @retval EFI_INVALID_PARAMETER  the text is not UTF-8
 */
EFI_STATUS vyxHostWideText(const char *text, wchar_t **wide);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

#endif
