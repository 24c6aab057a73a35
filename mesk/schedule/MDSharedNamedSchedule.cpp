#include <mesk/schedule/MDSharedNamedSchedule.h>

#include <mesk/bridge/StoreList.h>
#include <mesk/schedule/MDScheduleEvent.h>

namespace mesk {
namespace {

constexpr const char* kList = "retrieveScheduleEventList";
constexpr auto& kListSignature = storeSignature<"", kCollectionType>;
constexpr auto kEventSignature = storeSignature<metadataType<"MDScheduleEvent">, "V">;

}  // namespace

MDSharedNamedSchedule::MDSharedNamedSchedule(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  create(ctx, metadataClass<"MDSharedNamedSchedule">, context, rc, sqlCode);
}

MDSharedNamedSchedule::MDSharedNamedSchedule(ThreadContext& ctx, jobject schedule, jobject) : MDObject(ctx, schedule) {}

int MDSharedNamedSchedule::insert(ThreadContext& ctx, jobject context, int& sqlCode) {
  return persist(ctx, "insert", context, sqlCode);
}

int MDSharedNamedSchedule::update(ThreadContext& ctx, jobject context, int& sqlCode) {
  return persist(ctx, "update", context, sqlCode);
}

int MDSharedNamedSchedule::deleteIt(ThreadContext& ctx, jobject context, int& sqlCode) {
  return persist(ctx, "delete", context, sqlCode);
}

char* MDSharedNamedSchedule::getSharedScheduleName(ThreadContext& ctx) const {
  return getString(ctx, "getSharedScheduleName");
}
void MDSharedNamedSchedule::setSharedScheduleName(ThreadContext& ctx, const char* value) {
  setString(ctx, "setSharedScheduleName", value);
}
char* MDSharedNamedSchedule::getDescription(ThreadContext& ctx) const { return getString(ctx, "getDescription"); }
void MDSharedNamedSchedule::setDescription(ThreadContext& ctx, const char* value) {
  setString(ctx, "setDescription", value);
}
long long MDSharedNamedSchedule::getScheduleID(ThreadContext& ctx) const { return getLong(ctx, "getScheduleID"); }
void MDSharedNamedSchedule::setScheduleID(ThreadContext& ctx, long long value) { setLong(ctx, "setScheduleID", value); }

int MDSharedNamedSchedule::getNumScheduleEvent(ThreadContext& ctx, jobject context) {
  int unused = 0;
  StoreCall call(ctx, unused);
  const auto rules = call.invoke<LocalRef<>>(*this, kList, kListSignature, context);
  if (call.code() != 0 || !rules) return 0;
  return Elements(ctx, rules.get()).count();
}

int MDSharedNamedSchedule::retrieveScheduleEventList(ThreadContext& ctx, jobject context, MDScheduleEvent**& events,
                                                     int& count, int& sqlCode) {
  return retrieveWrappers(ctx, *this, kList, kListSignature, ListForm::sizeAndGet, kNothingInHome, events, count,
                          sqlCode, context);
}

int MDSharedNamedSchedule::addScheduleEvent(ThreadContext& ctx, jobject context, MDScheduleEvent& event, int& sqlCode) {
  return callStoreWith(ctx, *this, "addScheduleEvent", kEventSignature, sqlCode, context, event);
}

int MDSharedNamedSchedule::removeScheduleEvent(ThreadContext& ctx, jobject context, MDScheduleEvent& event,
                                               int& sqlCode) {
  return callStoreWith(ctx, *this, "removeScheduleEvent", kEventSignature, sqlCode, context, event);
}

}  // namespace mesk
