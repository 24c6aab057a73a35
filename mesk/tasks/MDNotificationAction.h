// Whom a task tells, and how, when it finishes.
#pragma once

#include <mesk/bridge/MDObject.h>

namespace mesk {

/// Wraps the store's MDNotificationAction: by e-mail or pager, under which condition, with what text, to which contacts
/// and contact groups. It belongs to the task that `MDTask::addNotificationAction` gives it to.
class MESK_API MDNotificationAction : public MDObject {
 public:
  /// A new action, which the store does not hold before `insert`.
  MDNotificationAction(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);

  /// Wraps `obj`; `cls` is ignored.
  MDNotificationAction(ThreadContext& ctx, jobject cls, jobject obj);

  int insert(ThreadContext& ctx, jobject context, int& sqlCode);
  int update(ThreadContext& ctx, jobject context, int& sqlCode);
  int deleteIt(ThreadContext& ctx, jobject context, int& sqlCode);

  /// The next key that the store hands out; 0 when it cannot be asked.
  long long getReferenceID(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);

  long long getNotificationActionID(ThreadContext& ctx) const;  ///< the key
  void setNotificationActionID(ThreadContext& ctx, long long value);
  long long getParentTaskID(ThreadContext& ctx) const;  ///< the task that tells, together with the suffix
  void setParentTaskID(ThreadContext& ctx, long long value);
  int getParentSuffix(ThreadContext& ctx) const;
  void setParentSuffix(ThreadContext& ctx, int value);
  int getNotificationCondition(ThreadContext& ctx) const;  ///< a code of the store, as the next two
  void setNotificationCondition(ThreadContext& ctx, int value);
  int getMessageType(ThreadContext& ctx) const;
  void setMessageType(ThreadContext& ctx, int value);
  int getUseEmailMessage(ThreadContext& ctx) const;  ///< whether the pager gets the e-mail's message
  void setUseEmailMessage(ThreadContext& ctx, int value);
  char* getSubject(ThreadContext& ctx) const;
  void setSubject(ThreadContext& ctx, const char* value);
  Clob* getEmailMessage(ThreadContext& ctx) const;
  void setEmailMessage(ThreadContext& ctx, Clob* value);
  char* getEmailMessageString(ThreadContext& ctx) const;  ///< the same as a text
  void setEmailMessageString(ThreadContext& ctx, const char* value);
  Clob* getPagerMessage(ThreadContext& ctx) const;
  void setPagerMessage(ThreadContext& ctx, Clob* value);

  // What the store makes of the above; nobody sets it.
  char* getPagerSubject(ThreadContext& ctx) const;
  char* getPagerMessageString(ThreadContext& ctx) const;
  char* getJournalMessageString(ThreadContext& ctx) const;
  char* getSender(ThreadContext& ctx) const;

  /// The contacts that the action names itself. Code 30014 of the store is an empty list, and 30013 is not.
  int retrieveContactNameList(ThreadContext& ctx, jobject context, char**& names, int& count, int& sqlCode);

  /// The contact groups that the action names, as `retrieveContactNameList`.
  int retrieveContactGroupNameList(ThreadContext& ctx, jobject context, char**& names, int& count, int& sqlCode);

  /// Everybody whom the action tells, each once: its contacts, then the members of its groups as the platform's contact
  /// service knows them, in their orders. A group that the service cannot list is left out, and so is a name for which
  /// there is no memory. On failure of the store null and 0. The caller deletes the array and each name with
  /// `delete[]`.
  int retrieveAllContactNameList(ThreadContext& ctx, jobject context, char**& names, int& count, int& sqlCode);
};

}  // namespace mesk
