// Connection handling: one access manager per thread, kept until a service object of the thread
// is destroyed, never shared between threads.
#include "service/connection_handler.h"

#include <latch>
#include <thread>

#include "service/service_fixture.h"

namespace clipcat::service_test {
namespace {

using ConnectionHandler = ServiceFixture;

TEST_F(ConnectionHandler, LaterDetailsOnTheSameThreadGetTheFirstCallsManager) {
  // Making a manager without details raises 91 and leaves none behind.
  EXPECT_EQ(RaisedNumber([] { GetAccessManager(nullptr); }), err::kObjectVariableNotSet);
  const std::string other = NewCatalog("other", "Other");
  const auto first = GetAccessManager(personal_);
  EXPECT_EQ(GetAccessManager(FileDetails(other)), first);
  EXPECT_EQ(GetAccessManager(nullptr), first);
  // Service calls with the other details still reach the first call's catalog...
  EXPECT_EQ(read_.GetPersonalCatalogRootFolder(FileDetails(other))->Name(), "Personal");
  // ...until a release: the next call builds a manager from its own details.
  ReleaseAccessManager();
  EXPECT_EQ(read_.GetPersonalCatalogRootFolder(FileDetails(other))->Name(), "Other");
  EXPECT_NE(GetAccessManager(personal_), first);
}

TEST_F(ConnectionHandler, DestroyingAnyServiceObjectDropsTheThreadsManager) {
  const std::string other = NewCatalog("other", "Other");
  for (int kind = 0; kind < 2; ++kind) {
    SCOPED_TRACE(kind == 0 ? "read" : "write");
    ReleaseAccessManager();
    auto before = GetAccessManager(personal_);
    const auto d = before->GetDefaultDataAccessObject();
    d->OpenCatalog("", "", "");
    if (kind == 0) ClippingDataRead().GetPersonalCatalogRootFolder(personal_);
    if (kind == 1) ClippingDataWrite().AddFolder(Named<Folder>("short-lived"), "1", personal_);
    // The fixture's own service objects are still alive; their next call gets a new manager,
    // built from that call's details.
    const auto root = read_.GetPersonalCatalogRootFolder(FileDetails(other));
    EXPECT_EQ(root->Name(), "Other");
    EXPECT_NE(GetAccessManager(personal_), before);
    // The dropped manager closes its catalogs when its last holder lets it go.
    EXPECT_TRUE(d->IsOpen());
    before.reset();
    EXPECT_FALSE(d->IsOpen());
  }
}

TEST_F(ConnectionHandler, EachThreadHasAManagerOfItsOwn) {
  const auto main_manager = GetAccessManager(personal_);
  // Both threads hold their managers at the same time, so distinct addresses mean distinct
  // managers; each thread's service calls reach its own catalog.
  std::latch both_hold(2);
  std::latch checked(1);
  ClippingAccessManager* seen[2] = {nullptr, nullptr};
  std::string root_names[2];
  auto body = [&](int i, const std::string& path) {
    const auto mine = GetAccessManager(FileDetails(path));
    seen[i] = GetAccessManager(personal_) == mine ? mine.get() : nullptr;
    root_names[i] = ClippingDataRead().GetPersonalCatalogRootFolder(personal_)->Name();
    both_hold.count_down();
    checked.wait();
  };
  std::thread a(body, 0, NewCatalog("a", "Thread A"));
  std::thread b(body, 1, NewCatalog("b", "Thread B"));
  both_hold.wait();
  EXPECT_TRUE(seen[0] && seen[1] && seen[0] != seen[1]);
  EXPECT_TRUE(seen[0] != main_manager.get() && seen[1] != main_manager.get());
  checked.count_down();
  a.join();
  b.join();
  EXPECT_EQ(root_names[0] + "|" + root_names[1], "Thread A|Thread B");
  // The threads' work left this thread's manager as it was.
  EXPECT_EQ(GetAccessManager(personal_), main_manager);
  EXPECT_EQ(read_.GetPersonalCatalogRootFolder(personal_)->Name(), "Personal");
}

}  // namespace
}  // namespace clipcat::service_test
