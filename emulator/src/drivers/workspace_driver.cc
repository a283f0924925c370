#include "drivers/workspace_driver.h"

#include "client/client.h"
#include "drivers/drive_support.h"
#include "drivers/held_objects.h"
#include "support/record_json.h"

namespace quelt::ombrix::emu::workspace {

namespace {

// Managers the SDK keeps beyond their client's life.
Held<SharedPtr<FernwickManagerItf>>& Managers() {
  static auto* managers = new Held<SharedPtr<FernwickManagerItf>>;
  return *managers;
}

}  // namespace

Json Drive(const std::string& op, const Json& args, int listener) {
  if (op == "release") {
    Managers().Release(ToInteger<uint64_t>(args["manager"].AsNumber()));
    return Json::MakeObject({});
  }
  if (op == "releaseAll") {
    auto released = Managers().ReleaseAll();
    return Json::MakeObject({{"released", static_cast<uint64_t>(released.size())}});
  }
  Json error;
  SharedPtr<FernwickManagerItf> manager = HeldOrClientService(
      Managers(), args, "manager", &ClientServices::fernwickManager, "workspace manager", &error);
  if (!manager) return error;
  if (op == "hold") return Json::MakeObject({{"manager", Managers().Add(manager)}});
  if (op == "setWorkspace") {
    TextArg workspace(args["workspace"]);
    return StartOperation(op, listener, [manager, workspace](auto cb) {
      manager->SetFernwickWorkspace(workspace.get(), cb);
    });
  }
  return DriveError("unknown workspace operation " + op);
}

}  // namespace quelt::ombrix::emu::workspace
