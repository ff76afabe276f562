// SPDX-License-Identifier: MIT
// A queue as a table of SQLite beside the partition: the same texts of a job, a transaction for each change.
#include <sqlite3.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "jobs.h"
#include "peers.h"

namespace bench {
namespace {

struct CloseDatabase {
  void operator()(sqlite3 *database) const { sqlite3_close(database); }
};
struct Finalize {
  void operator()(sqlite3_stmt *statement) const { sqlite3_finalize(statement); }
};

class Table {
 public:
  Table(std::size_t count, const char *mode) {
    const std::string path = std::string(std::getenv("VARSK_ROOT")) + "/bench.db";
    for (const char *suffix : {"", "-journal", "-wal", "-shm"}) std::remove((path + suffix).c_str());
    sqlite3 *opened = nullptr;
    must(sqlite3_open(path.c_str(), &opened) == SQLITE_OK);
    database_.reset(opened);
    run(mode);
    run("CREATE TABLE job (place INTEGER PRIMARY KEY, job_id, command, task, category, version, block, timeout)");
    add_ = prepare(
        "INSERT INTO job (job_id, command, task, category, version, block, timeout) "
        "VALUES (?, ?, ?, ?, 1, 7, 600)");
    first_ = prepare("SELECT * FROM job ORDER BY place LIMIT 1");
    take_ = prepare("DELETE FROM job WHERE place = ?");
    run("BEGIN");
    for (std::size_t added = 0; added < count; ++added) add();
    run("COMMIT");
  }

  void add() {
    const SSIB_ENTRY job = sampleJob(kXml);
    int column = 0;
    for (const char *text : {job.Job_ID, job.Cmd_Line, job.Task_Name, job.LU_Category})
      must(sqlite3_bind_text(add_.get(), ++column, text, -1, SQLITE_STATIC) == SQLITE_OK);
    finish(add_);
  }

  void take() {
    must(sqlite3_step(first_.get()) == SQLITE_ROW);
    for (int column = 1; column <= 4; ++column) std::free(strdup(text(column)));
    must(sqlite3_bind_int64(take_.get(), 1, sqlite3_column_int64(first_.get(), 0)) == SQLITE_OK);
    must(sqlite3_reset(first_.get()) == SQLITE_OK);
    finish(take_);
  }

 private:
  using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;

  void run(const char *command) {
    must(sqlite3_exec(database_.get(), command, nullptr, nullptr, nullptr) == SQLITE_OK);
  }
  Statement prepare(const char *text) {
    sqlite3_stmt *statement = nullptr;
    must(sqlite3_prepare_v2(database_.get(), text, -1, &statement, nullptr) == SQLITE_OK);
    return Statement(statement);
  }
  static void finish(const Statement &statement) {
    must(sqlite3_step(statement.get()) == SQLITE_DONE);
    must(sqlite3_reset(statement.get()) == SQLITE_OK);
  }
  const char *text(int column) { return reinterpret_cast<const char *>(sqlite3_column_text(first_.get(), column)); }

  std::unique_ptr<sqlite3, CloseDatabase> database_;
  Statement add_, first_, take_;
};

Way cycle(const char *mode) {
  return [=](std::size_t count) {
    const auto table = std::make_shared<Table>(count, mode);
    return Timed{{},
                 [=] {
                   table->add();
                   table->take();
                 },
                 {}};
  };
}

const Other unsynced = {"SQLite", cycle("PRAGMA synchronous=OFF")};
const Other synced = {"SQLite", cycle("PRAGMA synchronous=FULL")};
const Other syncedLog = {"SQLite, WAL", cycle("PRAGMA synchronous=FULL; PRAGMA journal_mode=WAL")};

const Peer peers[] = {{kXmlCycle, unsynced},        {kTaskListCycle, unsynced},     {kXmlSyncedCycle, synced},
                      {kXmlSyncedCycle, syncedLog}, {kTaskListSyncedCycle, synced}, {kTaskListSyncedCycle, syncedLog}};

}  // namespace
}  // namespace bench
