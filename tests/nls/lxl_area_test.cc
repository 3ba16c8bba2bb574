// Global area: sharing, the built-in fallback, callbacks that fail, threads.
#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

#include "nls/nlb_check.h"
#include "tests/support/nls_exercise.h"
#include "tests/support/nls_fixture.h"

namespace kestra::test {
namespace {

TEST(LxlArea, SharedAreaIsCounted) {
  const NlsEnvironment environment;
  ForgetProcessState();
  std::uint32_t error = 99;
  lxarea* first = lxlinit(nullptr, 1, &error);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(error, 0u);
  EXPECT_EQ(lxlinit(nullptr, 1, nullptr), first);
  lxcontext a{};
  lxcontext b{};
  lxinitc(&a, nullptr, nullptr, 0);
  lxinitc(&b, first, nullptr, 0);
  EXPECT_EQ(a.area, first);
  EXPECT_EQ(*a.area_slot, first);
  lxarea* own = lxlinit(nullptr, 0, nullptr);
  EXPECT_NE(own, first);
  lxcontext c{};
  lxinitc(&c, own, nullptr, 0);
  EXPECT_EQ(lxlterm(&c), 0) << "an area that is not shared goes at once";
  EXPECT_EQ(lxlterm(&c), 1);
  EXPECT_EQ(lxlterm(&a), 0);
  EXPECT_NE(lxdgetobj(1, KES_OBJECT_LANGUAGE, &b), nullptr) << "one user left";
  EXPECT_EQ(lxlterm(&a), 0);
  b.error = 5;
  EXPECT_EQ(lxlterm(&b), 1) << "released through the other context";
  EXPECT_EQ(b.error, 0u);
  EXPECT_EQ(lxlterm(&a), 1);
  EXPECT_EQ(lxlterm(nullptr), 1);
}

TEST(LxlArea, ContextMakesWhatIsMissing) {
  const NlsEnvironment environment;
  ForgetProcessState();
  lxcontext context;
  std::memset(&context, 0xAA, sizeof context);
  ASSERT_EQ(lxinitc(&context, nullptr, nullptr, 0), &context);
  EXPECT_EQ(context.callbacks, &lxldcbk);
  EXPECT_EQ(context.error, 0u);
  EXPECT_NE(lxdgetobj(1, KES_OBJECT_LANGUAGE, &context), nullptr);
  EXPECT_EQ(lxlterm(&context), 0);
  EXPECT_EQ(lxlterm(&context), 1);
  // Given ones become the defaults.
  CountingAllocator allocator;
  lxarea* own = lxlinit(allocator.block(), 0, nullptr);
  lxinitc(&context, own, allocator.block(), 1);
  lxcontext other;
  lxinitc(&other, nullptr, nullptr, 0);
  EXPECT_EQ(other.area, own);
  EXPECT_EQ(other.callbacks, allocator.block());
  EXPECT_EQ(lxlterm(&other), 0);
  EXPECT_EQ(lxinitc(nullptr, nullptr, nullptr, 0), nullptr);
}

TEST(LxlArea, CallbackBlockIsCompleted) {
  EXPECT_EQ(lxldini(nullptr), &lxldcbk);
  lxcallbacks block{};
  int mine = 0;
  block.release = [](void*, void*) {};
  block.release_ctx = &mine;
  EXPECT_EQ(lxldini(&block), &block);
  EXPECT_EQ(block.allocate, &lxldalc);
  EXPECT_EQ(block.allocate_ctx, &block);
  EXPECT_EQ(block.release_ctx, &mine);
  EXPECT_EQ(block.release_boot, block.release);
  EXPECT_EQ(block.release_boot_ctx, &mine);
  EXPECT_EQ(block.load_object, &lxldlod);
  EXPECT_EQ(block.load_boot, &lxldlbb);
  EXPECT_EQ(block.unload_object, &lxldunl);
}

TEST(LxlArea, BuiltInDataWhenThereIsNone) {
  CountingAllocator allocator;
  NlsSession session("/nonexistent", allocator.block());
  EXPECT_EQ(session.start_error(), KES_NLS_NO_BOOT_FILE);
  session.environment().Set("NLS_LANG", "GERMAN_GERMANY.AL32UTF8");
  session.environment().Set("NLS_CURRENCY", "x");
  lxhandle handle{};
  ASSERT_NE(lxhLangEnv(&handle, 0, session.context()), nullptr);
  EXPECT_EQ(session.Info(handle, KES_ITEM_NLS_LANG), "AMERICAN_AMERICA.US7ASCII");
  EXPECT_EQ(session.Info(handle, 14), "January");
  EXPECT_EQ(session.Info(handle, KES_ITEM_CURRENCY), "x");
  EXPECT_EQ(session.Info(handle, KES_ITEM_DATE_FORMAT), "DD-MON-RR");
  ASSERT_NE(lxhLangEnv(&handle, 0, session.context()), nullptr) << "the saved handle";
  ExerciseHandle(handle, session.context());
}

// What a caller's function answers for the profile decides, also when it cannot be used.
TEST(LxlArea, UnsoundBootObjectOfTheCallerLeavesTheBuiltInData) {
  lxcallbacks block{};
  lxldini(&block);
  block.load_boot = [](void* ctx, const char* name, std::uint32_t variant) {
    lxobject* boot = lxldlbb(ctx, "lx1boot", 1);
    if (std::string_view(name) == "lx2boot") reinterpret_cast<std::uint8_t*>(boot)[44] = 0;
    return variant == 0 ? boot : (ADD_FAILURE() << name, boot);
  };
  NlsSession session(TestHome(), &block);
  EXPECT_EQ(session.start_error(), KES_NLS_NO_BOOT_FILE);
  EXPECT_EQ(session.Info(session.Handle(""), KES_ITEM_NLS_LANG), "AMERICAN_AMERICA.US7ASCII");
}

// The built-in objects are what the compiler makes of the definitions.
TEST(LxlArea, BuiltInObjectsAgreeWithTheFiles) {
  NlsSession full(FullHome());
  const lxhandle from_files = full.Handle("AMERICAN_AMERICA.US7ASCII");
  std::vector<std::string> texts;
  for (std::uint32_t item = 0; item < 152; ++item) texts.push_back(full.Info(from_files, item));
  const lxobject* set = lxpcobj(1, full.context());
  ASSERT_NE(set, nullptr);
  const auto* file = reinterpret_cast<const std::uint8_t*>(set);
  // Up to the table offsets all but the sizes of tables: identity, class words, case, code points.
  for (std::size_t at = 92; at < 2280; ++at) {
    if (at >= 120 && at < 136) continue;
    ASSERT_EQ(lxdlchr[at], file[at]) << "character set byte " << at;
  }
  NlsSession none("/nonexistent");
  const lxhandle built_in = none.Handle("");
  for (std::uint32_t item = 0; item < 152; ++item) {
    EXPECT_EQ(none.Info(built_in, item), texts[item]) << item;
  }
}

TEST(LxlArea, BuiltInObjectsPassTheChecks) {
  const auto check = [](const std::uint8_t* bytes) {
    std::uint32_t size;
    std::memcpy(&size, bytes + 8, sizeof size);
    const std::span object(bytes, size);
    const nls::Fault fault = nls::CheckObject(object);
    return fault != nullptr ? fault : nls::lxlchkobj(object);
  };
  for (const std::uint8_t* object : {lxdllan, lxdlter, lxdlchr, lxdlwkb, lxd2022arr[0],
                                     lxd2022arr[1], lxd2022arr[2], lxd2022arr[3]}) {
    EXPECT_EQ(check(object), nullptr);
  }
  EXPECT_EQ(nls::CheckBootDirectory(lxdlbot, 208), nullptr);
  lxcontext context{};
  for (const std::uint32_t id : {1000u, 2002u}) {
    EXPECT_EQ(check(reinterpret_cast<const std::uint8_t*>(lxpcobj(id, &context))), nullptr);
  }
}

// Everything from start to end; what comes up has to work, nothing may stay allocated.
void WholeLife(CountingAllocator& allocator) {
  const NlsEnvironment environment;
  ForgetProcessState();
  std::uint32_t error = 0;
  lxarea* area = lxlinit(allocator.block(), 1, &error);
  lxcontext context{};
  if (area == nullptr) {
    EXPECT_EQ(error, KES_NLS_NO_MEMORY);
    EXPECT_EQ(lxinitc(&context, nullptr, allocator.block(), 0), nullptr);
    EXPECT_EQ(context.error, KES_NLS_NO_MEMORY);
  } else {
    lxinitc(&context, area, allocator.block(), 0);
    lxhandle handle{};
    if (lxhLangEnv(&handle, 0, &context) == nullptr) {
      EXPECT_NE(context.error, 0u);
    } else {
      ExerciseQueries(handle, &context);
      lxhlmod(&handle, "UCA ROOT_S1", 11, KES_ITEM_SORT, 0, 0, &context);
      lxhlmod(&handle, "AL32UTF8", 8, KES_ITEM_CHARSET, 0, 0, &context);
      ExerciseQueries(handle, &context);
    }
    EXPECT_EQ(lxlterm(&context), 0);
  }
  EXPECT_EQ(allocator.live(), 0u);
  ForgetProcessState();
}

TEST(LxlArea, AllocatorRefusesEachCall) {
  CountingAllocator allocator;
  WholeLife(allocator);
  const std::size_t calls = allocator.calls();
  ASSERT_GT(calls, 5u);
  for (const bool onwards : {false, true}) {
    for (std::size_t call = 0; call < calls; ++call) {
      SCOPED_TRACE("call " + std::to_string(call) + (onwards ? " and all later" : ""));
      allocator.FailAt(call, onwards);
      WholeLife(allocator);
      allocator.FailNever();
    }
  }
}

TEST(LxlArea, ObjectThatCouldNotBeLoadedIsTriedAgain) {
  CountingAllocator allocator;
  NlsSession session(TestHome(), allocator.block());
  lxhandle handle{};
  allocator.FailAt(0, true);
  EXPECT_EQ(lxhLaToId("GERMAN", 6, &handle, 1, session.context()), nullptr);
  EXPECT_EQ(session.context()->error, KES_NLS_OBJECT_UNAVAILABLE);
  allocator.FailNever();
  EXPECT_NE(lxhLaToId("GERMAN", 6, &handle, 1, session.context()), nullptr);
}

// Sixteen threads make first use of every object.
void UseEverything(int number, lxarea* shared, std::vector<const lxobject*>& seen) {
  lxcontext context{};
  ASSERT_NE(lxinitc(&context, shared, nullptr, 0), nullptr);
  lxhandle handle{};
  ASSERT_NE(lxhLangEnv(&handle, 0, &context), nullptr);
  for (std::uint32_t i = 0; i < 80; ++i) {
    const std::uint32_t slot = (i * 7 + static_cast<std::uint32_t>(number)) % 80;
    for (std::uint32_t type = 0; type <= 5; ++type) {
      if (const lxobject* object = lxdgetobj(slot, type, &context)) seen[slot] = object;
    }
  }
  ExerciseQueries(handle, &context);
  EXPECT_TRUE(shared != nullptr || lxlterm(&context) == 0);
}

TEST(LxlArea, ThreadsShareOneAreaUnderTheLock) {
  NlsEnvironment environment;
  environment.Set("NLS_LANG", "JAPANESE_JAPAN.AL32UTF8");
  ForgetProcessState();
  lxarea* area = lxlinit(nullptr, 1, nullptr);
  std::vector<std::vector<const lxobject*>> seen(16, std::vector<const lxobject*>(80));
  std::vector<std::thread> threads;
  for (int i = 0; i < 16; ++i) {
    threads.emplace_back([&, i] { UseEverything(i, area, seen[static_cast<std::size_t>(i)]); });
  }
  for (std::thread& thread : threads) thread.join();
  for (const auto& objects : seen) EXPECT_EQ(objects, seen[0]) << "loaded twice";
  lxcontext context{};
  lxinitc(&context, area, nullptr, 0);
  EXPECT_EQ(lxlterm(&context), 0);
  ForgetProcessState();
}

TEST(LxlArea, ThreadsHaveTheirOwnStateInRunMode2) {
  NlsEnvironment environment;
  environment.Set("NLS_LANG", "RUSSIAN_RUSSIA.CY8CP1251");
  const int before = lxlrunmode(2);
  std::vector<std::vector<const lxobject*>> seen(16, std::vector<const lxobject*>(80));
  std::vector<std::thread> threads;
  for (int i = 0; i < 16; ++i) {
    threads.emplace_back([&, i] { UseEverything(i, nullptr, seen[static_cast<std::size_t>(i)]); });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(lxlrunmode(before), 2);
  EXPECT_EQ(lxlrunmode(7), before) << "an unknown mode changes nothing";
}

}  // namespace
}  // namespace kestra::test
