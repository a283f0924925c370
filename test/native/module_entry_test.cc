#include <dlfcn.h>

#include <cstdint>

#include <gtest/gtest.h>

// The module reports the Node-API version it is built against, before any
// environment exists (Node reads it ahead of registration).
TEST(ModuleEntryTest, ReportsNodeApiVersion8) {
  // The Node-API functions resolve to stubs linked into this test.
  void* module = dlopen(OMBRIX_ADDON_PATH, RTLD_LAZY | RTLD_LOCAL);
  ASSERT_NE(module, nullptr) << dlerror();
  using GetVersion = int32_t (*)();
  auto getVersion =
      reinterpret_cast<GetVersion>(dlsym(module, "node_api_module_get_api_version_v1"));
  ASSERT_NE(getVersion, nullptr);
  EXPECT_EQ(getVersion(), 8);
  EXPECT_NE(dlsym(module, "napi_register_module_v1"), nullptr);
  dlclose(module);
}
