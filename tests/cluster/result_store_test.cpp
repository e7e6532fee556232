// Both stores, the database a real server that tests/cluster/with-services starts.
#include "tools/cluster/result_store.h"

#include <libpq-fe.h>
#include <sys/resource.h>

#include <csignal>

#include "tests/support/test.h"
#include "tools/cluster/secret_file.h"

namespace velmora::cluster {
namespace {

namespace fs = std::filesystem;

using testing::TemporaryDirectory;
using testing::WriteFile;

std::string Variable(const char* name) {
  const char* const value = std::getenv(name);
  if (value == nullptr) throw std::runtime_error(std::string(name) + " is not set");
  return value;
}

std::unique_ptr<ResultStore> OpenDatabase() {
  return OpenResultStore(Variable("VELMORA_TEST_DATABASE"),
                         Variable("VELMORA_TEST_DATABASE_CREDENTIALS"));
}

// As the database's administrator, beside the store.
void Administer(const char* statement) {
  const std::string url = Variable("VELMORA_TEST_DATABASE");
  const Credentials own = ReadCredentials(Variable("VELMORA_TEST_DATABASE_CREDENTIALS"));
  const char* const keywords[] = {"dbname", "user", "password", nullptr};
  const char* const values[] = {url.c_str(), own.user.c_str(), own.password.c_str(), nullptr};
  PGconn* const connection = PQconnectdbParams(keywords, values, 1);
  PGresult* const answer = PQexec(connection, statement);
  const ExecStatusType status = PQresultStatus(answer);
  EXPECT_TRUE(status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK)
      << PQresultErrorMessage(answer);
  PQclear(answer);
  PQfinish(connection);
}

std::map<std::string, std::string> AllOf(ResultStore& store) {
  std::map<std::string, std::string> all;
  store.ForEach([&](const std::string& id, const std::string& line) {
    EXPECT_TRUE(all.emplace(id, line).second) << id << " came twice";
  });
  return all;
}

class ResultStores : public ::testing::TestWithParam<bool> {
 protected:
  void SetUp() override {
    if (GetParam()) Administer("DROP TABLE IF EXISTS velmora_results");
  }
  std::unique_ptr<ResultStore> Open() {
    if (GetParam()) return OpenDatabase();
    return OpenResultStore("file://" + std::regex_replace(folder_ / "r", std::regex(" "), "%20"),
                           "");
  }

 private:
  TemporaryDirectory folder_;
};

INSTANTIATE_TEST_SUITE_P(In, ResultStores, ::testing::Bool(), [](const auto& kind) {
  return std::string(kind.param ? "Database" : "Files");
});

TEST_P(ResultStores, KeepTheFirstResultOfEachId) {
  const std::vector<std::string> ids = {
      "a", "A", "-rf", "_..", "x.json", "1.new", std::string(128, 'z')};
  std::map<std::string, std::string> want;
  {
    const auto store = Open();
    EXPECT_TRUE(AllOf(*store).empty());
    for (const std::string& id : ids) {
      SCOPED_TRACE(id);
      want[id] = R"({"id":")" + id + R"(","text":"\u0000 '; \\ )" + "\xC3\xBC" + R"("})";
      EXPECT_FALSE(store->Has(id));
      EXPECT_TRUE(store->Put(id, want[id]));
      EXPECT_TRUE(store->Has(id));
      EXPECT_FALSE(store->Put(id, "{}"));
    }
  }
  const auto again = Open();
  EXPECT_FALSE(again->Put("a", "{}"));
  EXPECT_EQ(AllOf(*again), want);
}

TEST_P(ResultStores, RefuseWhatIsNoIdOrNoLine) {
  const auto store = Open();
  for (const std::string& id :
       {std::string(), std::string("."), std::string(".."), std::string("../../etc/x"),
        std::string("/x"), std::string("a b"), std::string("a\0b", 3), std::string("\xC3\xBC"),
        std::string("x\n"), std::string(129, 'z')}) {
    EXPECT_THROW(store->Put(id, "{}"), std::invalid_argument) << id;
    EXPECT_THROW(store->Has(id), std::invalid_argument) << id;
  }
  for (const char* line : {"", "{", "{}\n", "{\n}", "{\t}", "text"}) {
    EXPECT_THROW(store->Put("a", line), std::invalid_argument) << line;
  }
  EXPECT_TRUE(AllOf(*store).empty());
}

// Two processes of four threads each, all of which have another result for the same jobs.
TEST_P(ResultStores, AgreeOnTheFirstOfManyWriters) {
  constexpr int kThreads = 8;
  constexpr int kJobs = 50;
  std::unique_ptr<ResultStore> stores[2];
  std::vector<std::vector<std::string>> kept(kThreads);
  testing::RunTogether(2, [&](int i) { stores[i] = Open(); });  // both make what is missing
  testing::RunTogether(kThreads, [&](int thread) {
    for (int job = 0; job < kJobs; ++job) {
      const std::string id = std::to_string(job);
      if (stores[thread % 2]->Put(id, "{\"by\":" + std::to_string(thread) + "}")) {
        kept[static_cast<std::size_t>(thread)].push_back(id);
      }
    }
  });
  std::map<std::string, std::string> want;
  for (int t = 0; t < kThreads; ++t) {
    for (const std::string& id : kept[static_cast<std::size_t>(t)]) {
      EXPECT_TRUE(want.emplace(id, "{\"by\":" + std::to_string(t) + "}").second) << id;
    }
  }
  EXPECT_EQ(want.size(), std::size_t{kJobs});
  EXPECT_EQ(AllOf(*stores[0]), want);
}

TEST_P(ResultStores, LetTheVisitorStop) {
  const auto store = Open();
  for (const char* id : {"a", "b", "c"}) store->Put(id, "{}");
  EXPECT_THROW(store->ForEach([](const auto&, const auto&) { throw std::out_of_range("enough"); }),
               std::out_of_range);
  EXPECT_EQ(AllOf(*store).size(), 3u);
}

// A share that is not mounted for a while: nothing is written in its place.
TEST(FileStore, WaitsForAFolderThatVanished) {
  const TemporaryDirectory folder;
  const auto store = OpenResultStore(folder / "results", "");
  EXPECT_TRUE(store->Put("a", "{}"));
  fs::rename(folder / "results", folder / "elsewhere");
  for (const bool isMountPoint : {false, true}) {
    if (isMountPoint) fs::create_directory(folder / "results");
    EXPECT_THROW(store->Put("b", "{}"), StoreError);
    EXPECT_THROW(store->Has("a"), StoreError);
    EXPECT_THROW(AllOf(*store), StoreError);
  }
  EXPECT_TRUE(fs::is_empty(folder / "results"));
  fs::rename(folder / "elsewhere", folder / "results");
  EXPECT_TRUE(store->Put("b", "{}"));
  EXPECT_EQ(AllOf(*store).size(), 2u);
}

// The limit on a file's size stands for a disk that is full in the middle of a result.
TEST(FileStore, KeepsNoPartOfAResult) {
  const TemporaryDirectory folder;
  const auto store = OpenResultStore(folder / "results", "");
  const std::string line = "{\"text\":\"" + std::string(100'000, 'x') + "\"}";
  struct rlimit usual = {};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &usual), 0);
  const struct rlimit full = {50'000, usual.rlim_max};
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &full), 0);
  EXPECT_THROW(store->Put("a", line), StoreError);
  setrlimit(RLIMIT_FSIZE, &usual);
  std::signal(SIGXFSZ, handler);
  EXPECT_FALSE(store->Has("a"));
  EXPECT_TRUE(fs::is_empty(folder / "results/.new"));
  EXPECT_TRUE(store->Put("a", line));
  EXPECT_EQ(AllOf(*store).at("a"), line);
}

TEST(FileStore, RemovesWhatKilledWritersLeft) {
  const TemporaryDirectory folder;
  OpenResultStore(folder / "results", "")->Put("a", "{}");
  const std::string old = folder / "results/.new/1-1";
  const std::string fresh = folder / "results/.new/2-2";
  WriteFile(old, "{\"ha");
  WriteFile(fresh, "{\"ha");
  fs::last_write_time(old, fs::last_write_time(old) - std::chrono::hours(2));
  EXPECT_EQ(AllOf(*OpenResultStore(folder / "results", "")).size(), 1u);
  EXPECT_FALSE(fs::exists(old));
  EXPECT_TRUE(fs::exists(fresh)) << "its writer may be at work";
}

TEST(FileStore, NamesADamagedResult) {
  const TemporaryDirectory folder;
  const auto store = OpenResultStore(folder / "results", "");
  store->Put("a", "{}");
  for (const auto& entry : fs::recursive_directory_iterator(folder / "results")) {
    if (entry.path().filename() == "a.json") WriteFile(entry.path().string(), "{}");
  }
  try {
    AllOf(*store);
    FAIL() << "nothing was said";
  } catch (const StoreError& error) {
    EXPECT_NE(std::string(error.what()).find("a.json' is damaged"), std::string::npos);
  }
}

TEST(DatabaseStore, ConnectsAnew) {
  Administer("DROP TABLE IF EXISTS velmora_results");
  const auto store = OpenDatabase();
  EXPECT_TRUE(store->Put("a", "{}"));
  Administer(
      "SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE pid <> pg_backend_pid()"
      " AND application_name = 'velmora'");
  EXPECT_TRUE(store->Has("a"));
  EXPECT_TRUE(store->Put("b", "{}"));
}

TEST(OpenResultStore, RefusesWhatItCannotUse) {
  const TemporaryDirectory folder;
  WriteFile(folder / "file", "");
  const std::string database = Variable("VELMORA_TEST_DATABASE");
  const std::string password = std::regex_replace(database, std::regex("//"), "//velmora:secret@");
  struct Row {
    const char* name;
    std::string url, credentials, want;
    bool isStoreAtFault = false;  // or else the command line
  };
  for (const Row& row : {
           Row{"another kind", "ftp://host/folder", "", "there is no store"},
           Row{"another machine", "file://host/folder", "", "there is no store"},
           Row{"half a URL", "file:/folder", "", "there is no store"},
           Row{"a file in the way", folder / "file", "", "cannot be kept in", true},
           Row{"a password", password, "", "has a password in it"},
           Row{"a password as a parameter", database + "?password=x", "", "has a password in it"},
           Row{"no such credentials", database, folder / "none", "cannot be read"},
           Row{"a parameter's typing error", database + "?sslmod=require", "", "sslmod"},
       }) {
    SCOPED_TRACE(row.name);
    try {
      OpenResultStore(row.url, row.credentials);
      ADD_FAILURE() << "nothing was said";
    } catch (const std::runtime_error& error) {
      EXPECT_NE(std::string(error.what()).find(row.want), std::string::npos) << error.what();
      EXPECT_EQ(std::string(error.what()).find("secret"), std::string::npos) << "it is told on";
      EXPECT_EQ(dynamic_cast<const StoreError*>(&error) != nullptr, row.isStoreAtFault);
    }
  }
}

}  // namespace
}  // namespace velmora::cluster
