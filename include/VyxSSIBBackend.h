/* SPDX-License-Identifier: MIT */
/**
 * @file
 * libVyxSSIBBackend: persistent queues of jobs in a flash partition.
 *
 * A queue is an ordered list of job entries, kept in one file of the partition sVarskPartition in one of two forms,
 * which the file's name decides when the queue is opened:
 *   - a name that contains "json" (exactly so: "JSON" does not count) is a JSON task list, SSIB_MODE_BIOS_SMA; the main
 *     one is "BIOS_task_list.json". See iFlushToJSON and iParseFromJSON for what the form can hold and what it cannot;
 *   - any other name is an XML queue file, SSIB_MODE_DEFAULT; the main one is "Main.ssib". See iFlushSSIBQueue for what
 *     it holds.
 *
 * A host starts the library once with vyxSSIB2LinuxInitBackend and then works on gSSSIB2pvt, or on handles of its own
 * that Protocol2Constructor has set up. iOpenSSIB reads the whole file into a list in memory; getting, adding, deleting
 * and replacing work on that list; iFlushSSIBQueue, iRemoveFromSSIBQueue and the last iCloseSSIB write it back whole.
 *
 * What holds for every function:
 *   - Arguments are checked first: a refused argument costs nothing and changes nothing.
 *   - Names of files are NUL-terminated wide strings of 4-byte characters, all other texts NUL-terminated single-byte
 *     strings.
 *   - Memory is the process heap. What the library returns to a caller is released with free, a node with the XML
 *     service's DeleteTree. An argument stays the caller's and is only read, unless the function says otherwise.
 *   - An argument may point into the handle's list, or share texts and nodes with it, unless the function says
 *     otherwise.
 *   - A copy of a Node that is made while memory runs out can have holes: a name, a value, an attribute, a child or the
 *     siblings that follow are then null, without any other sign. When the first node itself cannot be allocated, the
 *     copy is null.
 *   - Each step is reported to the debug-log service, when there is one; results never depend on it.
 *   - The library starts no threads and takes no locks: the caller serialises all calls, those on different handles
 *     too, because the JSON writer's buffer and vyx_fgetc's read-ahead are shared by all. Nothing coordinates two
 *     handles, or two processes, that have one file open: the last one to write decides.
 *   - Only the functions that say so touch flash.
 *   - Costs are given for a list of N elements. The list is singly linked, without a pointer to its end: going to a
 *     place in it takes a walk.
 */
#ifndef VYX_SSIB_BACKEND_H
#define VYX_SSIB_BACKEND_H

#include <stddef.h>

#include "XmlService.h"

#ifdef __cplusplus
extern "C" {
#endif

/* What is declared here is exported by the library that defines it, however that library is compiled. */
#pragma GCC visibility push(default)

/* ---- Version ----------------------------------------------------------------------------------------------------- */

/** @name The version of these headers. What a program runs with is another matter: the SONAME says what fits
 * @{ */
/** Goes up with an incompatible change. */
#define VYXSSIB_VERSION_MAJOR 2
/** Goes up with an addition. */
#define VYXSSIB_VERSION_MINOR 0
/** Goes up with a correction. */
#define VYXSSIB_VERSION_PATCH 0
/** @} */

/** Whether these headers are of the given version or of a later one; for the preprocessor's conditions. */
#define VYXSSIB_VERSION_AT_LEAST(major, minor, patch) \
  (VYXSSIB_VERSION_MAJOR > (major) ||                 \
   (VYXSSIB_VERSION_MAJOR == (major) &&               \
    (VYXSSIB_VERSION_MINOR > (minor) || (VYXSSIB_VERSION_MINOR == (minor) && VYXSSIB_VERSION_PATCH >= (patch)))))

/* ---- Constants --------------------------------------------------------------------------------------------------- */

/** @name The two forms of a queue: values of the mode fields
 * @{ */
#define SSIB_MODE_DEFAULT 0U  /**< XML queue file */
#define SSIB_MODE_BIOS_SMA 1U /**< JSON task list */
/** @} */

/** @name Names of queue files
 * @{ */
#define SSIB_MAIN_QUEUE L"Main.ssib"               /**< the main XML queue */
#define SSIB_MAIN_TASK_LIST L"BIOS_task_list.json" /**< the main task list */
#define SSIB_TASK_LIST_MARK L"json"                /**< what a name has in it that makes the file a task list */
/** @} */

/** The partition of all queue files: the initial value of sVarskPartition, and what task lists always use. */
#define SSIB_PARTITION L"VAR025"

/** @name Bits of a field mask: which optional fields of an entry are valid. All other fields are always valid
 * @{ */
#define SSIB_FIELD_RB_REQ 0x01U   /**< RB_Req */
#define SSIB_FIELD_RB_TYPE 0x02U  /**< RB_Type */
#define SSIB_FIELD_TIMEOUT 0x04U  /**< Timeout */
#define SSIB_FIELD_RTN_CODE 0x08U /**< Rtn_Code */
#define SSIB_FIELD_RT_COUNT 0x10U /**< RT_Count */
#define SSIB_FIELD_JOB_ID 0x20U   /**< Job_ID */
/** @} */

/** @name Bytes of a text that count when entries are deleted and compared
 * @{ */
#define SSIB_COMPARED_JOB_ID 64U /**< of Job_ID */
#define SSIB_COMPARED_SHORT 16U  /**< of LU_Category and Job_Type */
#define SSIB_COMPARED_LONG 256U  /**< of every other text */
/** @} */

/** The longest text, in bytes, that a task list stores; the rest of a longer one is dropped. */
#define SSIB_TASK_LIST_TEXT_MAX 4095U

/** What adding writes into a Timeout of 0. */
#define SSIB_DEFAULT_TIMEOUT 600U

/** The priority of every entry that was read from a file. */
#define SSIB_PRIORITY_FROM_FILE 3U

/** @name Where iAddToSSIBQueue puts an entry, and the priority that it gets
 * @{ */
#define SSIB_ADD_PREPEND_HI 1U /**< after the entries of priority 1, before all others */
#define SSIB_ADD_APPEND_HI 2U  /**< after priorities 1 and 2, before the entries read from the file */
#define SSIB_ADD_PREPEND_LO 4U /**< after the entries read from the file and those of priority 4 */
#define SSIB_ADD_APPEND_LO 5U  /**< at the very end, whatever stands there */
/** @} */

/** @name Statuses of the library's own. Their top bit is clear, but they report a flush that wrote nothing
 * @{ */
#define SSIB_STATUS_NO_DOCUMENT ((EFI_STATUS)0x00300004) /**< no file name, or the document could not be built */
#define SSIB_STATUS_NO_FILE ((EFI_STATUS)0x00300009)     /**< the document has no text, or its file did not open */
/** @} */

/* ---- Records ----------------------------------------------------------------------------------------------------- */

typedef struct SSIB_ENTRY SSIB_ENTRY;
typedef struct SSIB_ENTRY_LIST SSIB_ENTRY_LIST;
typedef struct SSIB2_PRIVATE_DATA SSIB2_PRIVATE_DATA;

/* The records' pointer fields: plain pointers that may lie at any address. */
typedef char *SSIB_TEXT VYX_UNALIGNED;            /**< a NUL-terminated text on the process heap, or null */
typedef wchar_t *SSIB_WIDE_TEXT VYX_UNALIGNED;    /**< the same in wide characters */
typedef SSIB_ENTRY_LIST *SSIB_LINK VYX_UNALIGNED; /**< an element of a list, or null */

/**
 * One job: 67 bytes on a 32-bit machine.
 *
 * What the numbers RB_Type, RB_Req, RT_Count and Rtn_Code mean is up to those who put jobs in and take them out; the
 * library stores, compares and writes them.
 */
struct SSIB_ENTRY {
  uint32_t Version;        /**< version number of the block */
  uint8_t mode;            /**< SSIB_MODE_DEFAULT or SSIB_MODE_BIOS_SMA; entries read from a file have 0. Not stored */
  uint16_t Block_ID;       /**< identifier of the block */
  uint8_t RB_Type;         /**< optional: SSIB_FIELD_RB_TYPE */
  uint8_t RB_Req;          /**< optional: SSIB_FIELD_RB_REQ */
  uint32_t Timeout;        /**< optional: SSIB_FIELD_TIMEOUT. Reading a file keeps only the low 16 bits */
  uint32_t Rtn_Code;       /**< optional: SSIB_FIELD_RTN_CODE. Return code of the job */
  uint16_t RT_Count;       /**< optional: SSIB_FIELD_RT_COUNT */
  SSIB_TEXT Job_ID;        /**< optional: SSIB_FIELD_JOB_ID. Job identifier */
  SSIB_TEXT Cmd_Line;      /**< command line; double quotes around the whole of it are not stored */
  SSIB_TEXT Task_Name;     /**< name of the task */
  XML_NODE_LINK Node;      /**< extra content of an XML block: a detached chain of elements, or null */
  SSIB_TEXT LU_Category;   /**< category of the job */
  SSIB_TEXT Display_Name;  /**< what the job is called on displays; this and what follows belong to task lists */
  SSIB_TEXT Job_Type;      /**< type of the job; one that begins with UPDATE sets an attribute when it is read */
  SSIB_TEXT FQDD;          /**< descriptor of the device */
  SSIB_TEXT Resource_URI;  /**< where the resource is */
  SSIB_TEXT Resource_Type; /**< what the resource is */
  SSIB_TEXT Resource_Namespace; /**< namespace of the resource */
  SSIB_TEXT Target_Version;     /**< version to arrive at */
} VYX_PACKED;

/** One element of a queue's list: 76 bytes on a 32-bit machine. Owns all that its entry points to. */
struct SSIB_ENTRY_LIST {
  SSIB_LINK next;     /**< null at the tail */
  uint32_t fieldMask; /**< SSIB_FIELD_ bits: which optional fields of the entry are valid */
  uint8_t priority;   /**< 3 when read from a file, else the add location. Not stored */
  SSIB_ENTRY entry;   /**< the job */
} VYX_PACKED;

/** A queue handle: 81 bytes on a 32-bit machine. Zero before Protocol2Constructor and after Protocol2Destructor. */
struct SSIB2_PRIVATE_DATA {
  uint8_t signature[4];           /**< 's', 's', 'i', 'b'; nothing checks it */
  XML_SERVICE_PROTOCOL *XMLProto; /**< the XML service; null before construction */
  SSIB_LINK ssibEntryListHead;    /**< first element; null when the queue is empty */
  SSIB_LINK ssibEntryListPtr;     /**< read cursor: what the next get returns; null when the walk is over */
  SSIB_WIDE_TEXT ssibFileName;    /**< name of the open queue's file; owned by the handle */
  XML_NODE_LINK xmlRoot;          /**< document tree during an open or a flush; null between calls */
  DEBUG_LOG_PROTOCOL *debugProto; /**< the debug-log service; null when there is none */
  uint8_t revision;               /**< 2 after construction; nothing reads it */
  uint8_t reserved[47];           /**< 0 */
  uint32_t openCount;             /**< opens not yet matched by a close */
  uint8_t mode;                   /**< form of the queue: set by an open, SSIB_MODE_DEFAULT after the last close */
} VYX_PACKED;

/** This library's queue protocol, version 2, as an initialiser. */
#define SSIB_PROTOCOL2_GUID                          \
  {                                                  \
    0xCBABD3BD, 0xC477, 0x4C90, {                    \
      0x9C, 0x53, 0x53, 0x1E, 0x2A, 0x1B, 0xDE, 0xA2 \
    }                                                \
  }

/* ---- Exported data ----------------------------------------------------------------------------------------------- */

extern SSIB2_PRIVATE_DATA gSSSIB2pvt;    /**< the handle that vyxSSIB2LinuxInitBackend sets up */
extern DEBUG_LOG_PROTOCOL *vyxSsibDebug; /**< the debug-log service in use; null when there is none */
/**
 * The partition of all queue files; an array of 7 characters that starts as SSIB_PARTITION and may be overwritten.
 *
 * XML queue files are read from it and written to it, and every file, a task list too, is looked for and deleted in it.
 * But the contents of a task list are always read from, and written to, SSIB_PARTITION: with another name here,
 * iDeleteSSIB and iMergeToMain do not delete the task list that was read.
 */
extern wchar_t sVarskPartition[];
extern const EFI_GUID gQuorEfiXMLProtocolGuid2; /**< the XML service, XML_SERVICE_PROTOCOL */
extern const EFI_GUID gQuorDebugGUID;           /**< the debug-log service, DEBUG_LOG_PROTOCOL */
extern const EFI_GUID gEfiVyxSSIBProtocol2Guid; /**< this library's queue protocol, version 2; for clients' use */

/* ---- Start-up ---------------------------------------------------------------------------------------------------- */

/**
 * Starts the library: constructs gSSSIB2pvt. Called once, before any other call on that handle.
 *
 * Close a queue that is open before calling it again: its list and file name are neither written nor released then.
 *
 * @retval EFI_SUCCESS
 * @retval EFI_ABORTED  there is no XML service; gSSSIB2pvt and vyxSsibDebug are as before
 */
EFI_STATUS vyxSSIB2LinuxInitBackend(void);

/**
 * Ends the library: zeroes gSSSIB2pvt. Releases and writes nothing, so close every queue first. vyxSsibDebug stays set.
 * @retval EFI_SUCCESS
 */
EFI_STATUS vyxSSIB2LinuxUnloadBackend(void);

/**
 * Sets a handle up: finds the XML service and, when there is one, the debug-log service, which is published in
 * vyxSsibDebug. What the handle held before is overwritten, not released.
 *
 * @retval EFI_SUCCESS            also without a debug-log service: the library then runs silently, after the search's
 *                                one line on standard error
 * @retval EFI_INVALID_PARAMETER  SSIB2 is null
 * @retval EFI_NOT_FOUND          there is no XML service; the handle and vyxSsibDebug are untouched
 */
EFI_STATUS Protocol2Constructor(SSIB2_PRIVATE_DATA *SSIB2);

/**
 * Zeroes a handle. Releases nothing: the list and file name of a queue that is still open stay allocated.
 *
 * @retval EFI_SUCCESS
 * @retval EFI_INVALID_PARAMETER  SSIB2 is null
 */
EFI_STATUS Protocol2Destructor(SSIB2_PRIVATE_DATA *SSIB2);

/**
 * Finds the first instance of a protocol. Writes a line to standard error when there is none, and when the search
 * fails.
 *
 * @param guid      the protocol
 * @param instance  receives the instance, which stays the platform's; untouched on failure
 * @retval EFI_SUCCESS
 * @retval EFI_INVALID_PARAMETER  an argument is null
 * @retval EFI_NOT_FOUND          no instance or no array of instances, or the search failed
 */
EFI_STATUS FindAProtocol(const EFI_GUID *guid, void **instance);

/* ---- Queue files ------------------------------------------------------------------------------------------------- */

/**
 * Opens a queue: reads its file into the handle's list and puts the cursor on the first entry. A missing or empty file
 * is an empty queue, and so is one that the partition does not open for another reason than EFI_ACCESS_DENIED;
 * nothing is written before the first flush.
 *
 * On a handle whose queue is open already, only openCount goes up, whatever the name: the open queue stays. Each
 * successful open needs a close.
 *
 * Either form is read up to its first NUL byte: what follows it is not seen, damaged or not, and the next flush drops
 * it. An XML file in which the service finds a fault is refused whole. A child of the root is one entry, whatever its
 * name; an attribute that is not known is ignored, a repeated one holds with its last value, one without text gives 0
 * or a null string. Of several unknown child elements of a block, Node keeps the last one with what follows it.
 *
 * Reads flash: the file is opened twice, once for its size. Takes a buffer of the file's size, and time linear in it.
 * A task list with "UPDATE" jobs sets a configuration attribute, see iParseFromJSON.
 *
 * @param SSIB2     a constructed handle. After a failed open, too, it can be opened again
 * @param fileName  the file's name inside the partition; may be the handle's own ssibFileName
 * @retval EFI_SUCCESS            openCount is one higher
 * @retval EFI_INVALID_PARAMETER  an argument is null: nothing changed. Or: the text is not a task list; see below
 * @retval EFI_OUT_OF_RESOURCES   no XML service, or no memory
 * @retval EFI_ACCESS_DENIED      the partition refuses the file, or an XML file did not open for reading
 * @retval EFI_DEVICE_ERROR       the file ended before its size
 * @retval EFI_ABORTED            a task list did not open for reading
 * @return otherwise the failure of the XML service: the document is not well-formed, or an empty one could not be made
 *
 * What a failed open leaves in the handle:
 *   - a null argument: everything as before;
 *   - no XML service for an XML queue: everything as before but mode, which is SSIB_MODE_DEFAULT;
 *   - any other failure: mode is that of the name, list and cursor are empty, ssibFileName is null (after EFI_ABORTED
 *     it holds the name until the next open), openCount is 0. What the handle held before is released: a list that
 *     was there although no queue was open (entries added or parsed too early, or left by a refused close), the name,
 *     and by the open of an XML queue the tree in xmlRoot;
 *   - a failure of iParseFromJSON, for whatever reason: the task list counts as open, with its name, an empty list and
 *     openCount 1, and needs a close. Its file keeps its bytes as long as nothing is added, because the writer refuses
 *     an empty list. openCount tells this case from the others.
 */
EFI_STATUS iOpenSSIB(SSIB2_PRIVATE_DATA *SSIB2, const wchar_t *fileName);

/**
 * Writes the list to the queue's file, whole. The list, the cursor and openCount stay as they are. Neither priorities
 * nor the entries' mode are stored; after the next open all entries have priority 3, in their written order.
 *
 * A task list (mode SSIB_MODE_BIOS_SMA) is written by iFlushToJSON, whose statuses are returned. An XML queue file
 * holds the root "SSIB_INFO" with a "SSIB_BLOCK" for each entry. It stores Version, Block_ID, Task_Name, LU_Category (a
 * null one as an empty text) and the fields of fieldMask. Cmd_Line becomes the text of a child "CMD_LINE"; one that
 * begins with a double quote loses its first and its last character. Node is stored only when Cmd_Line is null. What
 * belongs to task lists is not stored.
 *
 * Writes flash: the document is built in memory first, so whatever fails before the file is opened leaves the file as
 * it was. The status of the partition's close is ignored: a platform that replaces the file only then can still keep
 * the old one. Costs one walk of the list.
 *
 * @param SSIB2  a handle with an open queue
 * @retval EFI_SUCCESS
 * @retval EFI_INVALID_PARAMETER    SSIB2 is null, or an XML queue's handle has no XML service
 * @retval SSIB_STATUS_NO_DOCUMENT  the handle has no file name (no queue is open), memory ran out, or the XML
 *                                  service refused a text or a Node whose copy lacks a name; file untouched
 * @retval SSIB_STATUS_NO_FILE      the service gave no text, or the file did not open for writing
 * @retval EFI_DEVICE_ERROR         the text was not written completely. What the file holds is up to the partition
 */
EFI_STATUS iFlushSSIBQueue(SSIB2_PRIVATE_DATA *SSIB2);

/**
 * Ends one use of a queue. The close that brings openCount to 0 flushes the queue and releases the file name and the
 * list; every other close only counts down, and one on a handle that is not open does nothing.
 *
 * The release happens whatever the flush returns: after a failed flush, what was only in memory is lost. A caller that
 * must not lose it calls iFlushSSIBQueue first and closes when that succeeded. Nothing undoes a close that was refused.
 *
 * Writes flash, as iFlushSSIBQueue does.
 *
 * @retval EFI_SUCCESS
 * @retval EFI_INVALID_PARAMETER  SSIB2 is null; or, on the last close, there is no XML service: openCount is then 0,
 *                                nothing is written, and name and list stay with the handle until its next open
 * @return otherwise the status of the last close's iFlushSSIBQueue; for a task list that has become empty this is
 *         EFI_INVALID_PARAMETER, and its file keeps the old entries
 */
EFI_STATUS iCloseSSIB(SSIB2_PRIVATE_DATA *SSIB2);

/**
 * Deletes a queue's file, in sVarskPartition. A handle that has it open keeps its list, and writes the file again when
 * it flushes. Changes flash.
 *
 * @param SSIB2     only tested for null
 * @param fileName  the file's name inside the partition
 * @retval EFI_SUCCESS            the file was there; whether the partition deleted it is not looked at
 * @retval EFI_INVALID_PARAMETER  an argument is null
 * @retval EFI_NOT_FOUND          the file cannot be opened for reading
 */
EFI_STATUS iDeleteSSIB(SSIB2_PRIVATE_DATA *SSIB2, const wchar_t *fileName);

/**
 * Folds a sub-queue into the main queue of its form, "Main.ssib" or "BIOS_task_list.json": its entries are put
 * after those of the main queue, in their order, whatever the priorities; nothing is compared, so an entry in both is
 * there twice. A main queue without a file is created.
 *
 * Works on two handles of its own and never looks at the caller's: a caller who has the main queue open closes it
 * first, or its next flush undoes the merge.
 *
 * Reads and writes flash: the sub-queue's file is emptied first (an XML file; a task list keeps its entries) and
 * deleted when that is asked for, then the main file is written. When that last write fails, the moved
 * entries are in neither file, unless their task list was left in place. A file that iOpenSSIB cannot read and
 * opens as an empty queue loses its entries here, the sub-queue's as well as the main queue's. The main queue merged
 * into itself has every entry twice.
 *
 * Setting the handles up refreshes vyxSsibDebug, as Protocol2Constructor does; reading task lists with "UPDATE" jobs
 * sets a configuration attribute, see iParseFromJSON.
 *
 * @param SSIB2           only tested for null
 * @param subQueueName    the sub-queue's file
 * @param deleteSubQueue  not 0: delete that file, in sVarskPartition
 * @retval EFI_SUCCESS            both queues were opened; failures of closing and deleting are not reported
 * @retval EFI_INVALID_PARAMETER  one of the first two arguments is null; or a task list does not parse
 * @retval EFI_NOT_FOUND          the sub-queue's file cannot be opened, or there is no XML service; files untouched
 * @return otherwise the failure of iOpenSSIB for either queue. The main file is untouched, the sub-queue's file at most
 *         written again with its own entries (of a task list that was read when memory was short: without the texts
 *         that had no room)
 */
EFI_STATUS iMergeToMain(SSIB2_PRIVATE_DATA *SSIB2, const wchar_t *subQueueName, uint32_t deleteSubQueue);

/* ---- Entries ----------------------------------------------------------------------------------------------------- */

/**
 * Copies the entry under the cursor for the caller and moves the cursor to the next one. Entries that were added before
 * the cursor, or after the walk was over, are not reached by this walk; that of an empty queue is over from the
 * start. A new walk begins with a new open, or with `SSIB2->ssibEntryListPtr = SSIB2->ssibEntryListHead`.
 *
 * @param SSIB2  a handle with an open queue
 * @param entry  overwritten with a copy whose strings and Node are the caller's; what it pointed to before is not
 *               released, so it must not be an element's own. A string that could not be allocated is null, without any
 *               other sign, and Node can have holes. Untouched on failure
 * @retval EFI_SUCCESS
 * @retval EFI_INVALID_PARAMETER  an argument is null, or the handle has no XML service
 * @retval EFI_END_OF_FILE        the walk is over, or the queue is empty
 */
EFI_STATUS iGetSSIBNextEntry(SSIB2_PRIVATE_DATA *SSIB2, SSIB_ENTRY *entry);

/** The same as iGetSSIBNextEntry, arguments and statuses included, but the cursor stays where it is. */
EFI_STATUS iPeekSSIBNextEntry(SSIB2_PRIVATE_DATA *SSIB2, SSIB_ENTRY *entry);

/**
 * Adds copies of entries to the list. Those of equal priority keep the order in which they were added. Neither the
 * cursor nor the handle's mode changes, and nothing is written to flash. Costs one walk, plus the entries.
 *
 * @param SSIB2        a constructed handle, with an open queue
 * @param count        number of entries
 * @param entries      `count` pointers to entries. An entry whose Timeout is 0 has 600 written into it, and is
 *                     otherwise only read; this holds for an element's own entry, too. May be null when count is 0
 * @param fieldMask    SSIB_FIELD_ bits: which optional fields of these entries are valid. Without SSIB_FIELD_JOB_ID no
 *                     Job_ID is kept
 * @param addLocation  one of the SSIB_ADD_ values
 * @retval EFI_SUCCESS            all were added. A string that could not be allocated is null in the list, and a Node
 *                                can have holes
 * @retval EFI_INVALID_PARAMETER  SSIB2 or one of the pointers is null, there is no XML service, or no such location:
 *                                nothing changed
 * @retval EFI_OUT_OF_RESOURCES   an element could not be allocated; the entries before it have been added, and
 *                                its own entry may have got the Timeout of 600
 */
EFI_STATUS iAddToSSIBQueue(SSIB2_PRIVATE_DATA *SSIB2, uint32_t count, SSIB_ENTRY **entries, uint32_t fieldMask,
                           uint32_t addLocation);

/**
 * Takes the first matching entry out of the list and releases it; a cursor on it moves to the next one. Nothing is
 * written to flash. Costs one walk.
 *
 * In an XML queue an element matches when Version, Block_ID, those of RB_Type, RB_Req, Timeout, Rtn_Code and Job_ID
 * that its fieldMask holds, Cmd_Line, Task_Name and LU_Category are equal. In a task list, mode, Display_Name,
 * Job_Type, FQDD, Resource_URI, Resource_Type and Resource_Namespace. 64 bytes of Job_ID, 16 of LU_Category and
 * Job_Type and 256 of the others count. A string that is null on either side matches nothing, so an entry that lacks
 * one cannot be deleted.
 *
 * A handle without an XML service cannot release the Node of the element: it stays allocated.
 *
 * @param SSIB2  the handle
 * @param entry  the key. When it is an element's own entry, or shares texts with one, it may be released by the call
 * @retval EFI_SUCCESS
 * @retval EFI_INVALID_PARAMETER  an argument is null, or no entry matches
 */
EFI_STATUS iDeleteSSIBEntry(SSIB2_PRIVATE_DATA *SSIB2, const SSIB_ENTRY *entry);

/**
 * iDeleteSSIBEntry, then iFlushSSIBQueue, so that the removal lasts. Writes flash.
 *
 * @retval EFI_SUCCESS
 * @retval EFI_INVALID_PARAMETER  an argument is null, or no entry matches: nothing changed, nothing written. Or:
 *                                the flush refused, and the entry is out of the list all the same
 * @return otherwise the status of iFlushSSIBQueue; the entry is out of the list all the same. The last job of a task
 *         list cannot be removed from its file: the writer refuses an empty list
 */
EFI_STATUS iRemoveFromSSIBQueue(SSIB2_PRIVATE_DATA *SSIB2, const SSIB_ENTRY *entry);

/**
 * Tells whether two entries describe the same job, by the rules of the handle's mode. They are not those of
 * iDeleteSSIBEntry.
 *
 * In an XML queue all numbers, mode included, must be equal; Job_ID (64 bytes count), Cmd_Line, Task_Name (256),
 * LU_Category (16) and Node (as serialised text) must be equal or null on both sides; the strings of task lists (256,
 * Job_Type 16) must be equal where both sides have them. In a task list Display_Name, FQDD, Resource_Namespace (256)
 * and Job_Type (16) must be equal where both sides have them.
 *
 * @param SSIB2  read only when both entries are given
 * @param e1     one entry, or null
 * @param e2     the other
 * @retval 0           the same job, or both null
 * @retval 1           not the same, one is null, SSIB2 is null, or its mode is unknown
 * @retval 0xFFFFFFFF  a Node could not be serialised, its document has no text, or there is no XML service to do it
 * @return otherwise what strcmp returned for the serialised Nodes, which differ. That may be 1 or 0xFFFFFFFF, too: test
 *         for 0
 */
uint32_t SSIBEntryCmp(SSIB2_PRIVATE_DATA *SSIB2, const SSIB_ENTRY *e1, const SSIB_ENTRY *e2);

/**
 * Replaces the first entry that SSIBEntryCmp finds equal to oldEntry by a copy of newEntry. Its place, priority and
 * fieldMask stay: the mask still decides which optional fields reach the file. Nothing is written to flash. Costs one
 * walk, and in an XML queue two serialised Nodes for each entry that differs in nothing else.
 *
 * The old contents are released before the new ones are copied. newEntry must therefore not be an element's own entry,
 * nor point to a text or a node that the matching element owns: it would be read after it was freed. oldEntry may.
 *
 * A handle without an XML service cannot release the old Node of the element: it stays allocated.
 *
 * @param SSIB2     the handle
 * @param oldEntry  the key
 * @param newEntry  the new contents; may be the same record as oldEntry, when that owns nothing of the list
 * @retval EFI_SUCCESS            the new Node can have holes
 * @retval EFI_INVALID_PARAMETER  an argument is null
 * @retval EFI_NOT_FOUND          the list is empty, or no entry matches: nothing changed
 * @retval EFI_OUT_OF_RESOURCES   a string or the first node of Node could not be copied. The old contents are gone; the
 *                                element has the new numbers and the strings copied so far, and null in the others
 *                                and in Node
 */
EFI_STATUS iReplaceSSIBEntry(SSIB2_PRIVATE_DATA *SSIB2, const SSIB_ENTRY *oldEntry, const SSIB_ENTRY *newEntry);

/* ---- JSON task lists --------------------------------------------------------------------------------------------- */

/**
 * Writes the list as a JSON task list to the handle's file, whatever the handle's mode. The list stays as it is.
 *
 * One object is written for each entry, with the keys "JobType", "DisplayName", "FQDD", "JOBID", "ResourceURI",
 * "ResourceType", "ResourceNamespace" and "TargetVersion"; nothing else of an entry is stored. A null string is written
 * as an empty one.
 *
 * The format has no escapes: values are written as they stand. A value with a double quote, a brace or a bracket, or
 * one of more than 4095 bytes (the rest is dropped), does not read back; a reader of JSON stumbles over backslashes and
 * control characters, too. The caller keeps such values out. The limits are listed in docs/formats.md.
 *
 * Writes flash, in the partition "VAR025" whatever sVarskPartition says. Costs one walk.
 *
 * @retval EFI_SUCCESS            the file was opened; write errors are not detected
 * @retval EFI_INVALID_PARAMETER  SSIB2 is null, the list is empty, or there is no file name; the file is not touched
 * @retval EFI_ABORTED            the file did not open for writing
 */
EFI_STATUS iFlushToJSON(SSIB2_PRIVATE_DATA *SSIB2);

/**
 * Reads the text of a JSON task list and appends its jobs, with priority 3, to the handle's list; then puts the cursor
 * on the first element. Their fieldMask is 0 and their mode SSIB_MODE_DEFAULT, also when there is a Job_ID.
 * A job whose type begins with "UPDATE" sets the configuration attribute
 * "Calderwick.Embedded.1#CWAttributes.1#PackageCacheUpdateFlag", once for each such job; a failure is not reported.
 *
 * This is a scanner of the writer's own form, not a JSON parser. The first "[" opens the list; braces and brackets
 * count inside values, too; a value is the text between the next two double quotes after the first occurrence of its
 * quoted key in the object, without escapes. An empty value, like a missing key, gives a null string. A "{" after the
 * list is refused.
 *
 * @param SSIB2  a constructed handle
 * @param text   NUL-terminated
 * @retval EFI_SUCCESS
 * @retval EFI_INVALID_PARAMETER  an argument is null, or there is no balanced "[" ... "]": list and cursor as before.
 *                                Or an object is not closed inside the list: the jobs before it stay appended, the
 *                                cursor is on the first element
 * @retval EFI_OUT_OF_RESOURCES   an element could not be allocated; the jobs before it stay appended, the cursor is on
 *                                the first element. A string that could not be allocated is null, without any other
 *                                sign
 */
EFI_STATUS iParseFromJSON(SSIB2_PRIVATE_DATA *SSIB2, const char *text);

/* ---- List primitives --------------------------------------------------------------------------------------------- */

/** A new element of zeros on the heap, the caller's; null when there is no memory. */
SSIB_ENTRY_LIST *le_new(void);

/**
 * Appends an element, which then belongs to the list, and sets its next to null. Does nothing when an argument is null.
 * Costs one walk.
 *
 * @param head     address of the list's head pointer
 * @param element  the new last element, which must not be in a list
 */
void le_insert_tail(SSIB_LINK *head, SSIB_ENTRY_LIST *element);

/* ---- Text utilities ---------------------------------------------------------------------------------------------- */

/**
 * The next byte of a stream, read ahead 512 bytes at a time. The read-ahead is one buffer for the whole process: bytes
 * left in it are returned by the next call, whatever stream that names. Read one stream to its end before the next.
 *
 * @return 0 to 255; 0xFFFF at the end of input, on a read error and for a null stream. The next call tries to read
 *         again
 */
int vyx_fgetc(FILE *stream);

/**
 * Reads one line of plain text through vyx_fgetc. Carriage returns and bytes above 0x7F are dropped; tabs, vertical
 * tabs and form feeds become spaces; the line feed is consumed, not stored. Of a line that does not fit, the next call
 * returns the rest.
 *
 * @param buf     receives the line, NUL-terminated; all `size` bytes are written
 * @param size    of buf, in bytes; with 1, buf becomes empty and nothing is read
 * @param stream  what to read from
 * @return buf; null when buf or stream is null, when size is 0, and when the input ends before a byte was stored
 */
char *fgetline(char *buf, size_t size, FILE *stream);

/**
 * A block of at least newSize bytes with the contents of ptr.
 *
 * @param ptr      a block of oldSize bytes, or null. Afterwards it is no longer the caller's, even when the
 *                 result is null
 * @param oldSize  in bytes; when not below newSize, ptr itself is returned: blocks never shrink
 * @param newSize  in bytes
 * @return the block, the caller's; null when there is no memory
 */
void *smpl_realloc(void *ptr, size_t oldSize, size_t newSize);

/**
 * Removes every leading and every trailing `ch` of a string, in place. Does nothing to a null string.
 * @param str  the string, or null
 * @param ch   compared with each byte as a value of 0 to 255; outside of that it removes nothing
 */
void strtrim(char *str, int ch);

/**
 * Finds the first `needle` that lies wholly within the first n bytes of `haystack`, all of which must be readable: a
 * NUL among them does not end the search.
 * @return where it begins; haystack itself for an empty needle; null when there is none or an argument is null
 */
char *strnstr(const char *haystack, const char *needle, size_t n);

/**
 * Converts a multibyte string (of the process's locale) to wide characters with mbstowcs.
 *
 * @param src  NUL-terminated
 * @param dst  receives the characters, and a terminator only when it fits
 * @param len  capacity of dst in characters
 * @return dst; null when an argument is null or len is 0. How many characters were converted is not reported
 */
wchar_t *asciiToUnicode(const char *src, wchar_t *dst, size_t len);

/**
 * The low 8 bits of each character of a wide string.
 * @return a new string, which the caller frees; null when wstr is null or there is no memory
 */
char *unicodeToAscii(const wchar_t *wstr);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

#endif
