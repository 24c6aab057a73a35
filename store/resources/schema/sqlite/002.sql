-- What hangs on a task (shared schedules, actions, steps, success codes, statistics), contacts, and messages to send.
-- Times are milliseconds since 1970-01-01 00:00 UTC. A position gives the order in which things were added.
-- Rights can be held on statistics too: object_kind 5, under the key of the task.
CREATE INDEX permission_by_principal ON permission (principal_kind, principal_name);
-- Actions and notifications are on unless somebody switches them off. Until now there were none, and nobody set these.
UPDATE task SET follow_on_task_enable = 1, notification_enable = 1, version = version + 1
  WHERE follow_on_task_enable <> 1 OR notification_enable <> 1;
UPDATE task_exec SET use_task_actions = 1, use_notification = 1, version = version + 1
  WHERE use_task_actions <> 1 OR use_notification <> 1;
CREATE TABLE shared_named_schedule (
  shared_named_schedule_id INTEGER NOT NULL PRIMARY KEY,
  shared_schedule_name TEXT NOT NULL UNIQUE,
  description TEXT,
  version INTEGER NOT NULL
);
CREATE TABLE shared_schedule_event (
  shared_named_schedule_id INTEGER NOT NULL,
  schedule_event_id INTEGER NOT NULL,
  position INTEGER NOT NULL,
  PRIMARY KEY (shared_named_schedule_id, schedule_event_id),
  FOREIGN KEY (shared_named_schedule_id) REFERENCES shared_named_schedule (shared_named_schedule_id),
  FOREIGN KEY (schedule_event_id) REFERENCES schedule_event (schedule_event_id)
) WITHOUT ROWID;
CREATE INDEX shared_schedule_event_by_event ON shared_schedule_event (schedule_event_id);
CREATE TABLE task_shared_schedule (
  task_id INTEGER NOT NULL,
  suffix INTEGER NOT NULL,
  shared_named_schedule_id INTEGER NOT NULL,
  position INTEGER NOT NULL,
  PRIMARY KEY (task_id, suffix, shared_named_schedule_id),
  FOREIGN KEY (task_id, suffix) REFERENCES task (task_id, suffix),
  FOREIGN KEY (shared_named_schedule_id) REFERENCES shared_named_schedule (shared_named_schedule_id)
) WITHOUT ROWID;
CREATE INDEX task_shared_schedule_by_schedule ON task_shared_schedule (shared_named_schedule_id);
-- The steps of a task that is a group.
CREATE TABLE task_group_member (
  task_id INTEGER NOT NULL,
  suffix INTEGER NOT NULL,
  member_task_id INTEGER NOT NULL,
  member_suffix INTEGER NOT NULL,
  position INTEGER NOT NULL,
  PRIMARY KEY (task_id, suffix, member_task_id, member_suffix),
  FOREIGN KEY (task_id, suffix) REFERENCES task (task_id, suffix),
  FOREIGN KEY (member_task_id, member_suffix) REFERENCES task (task_id, suffix)
) WITHOUT ROWID;
CREATE INDEX task_group_member_by_member ON task_group_member (member_task_id, member_suffix);
-- The records of the steps of a group's run.
CREATE INDEX task_history_by_root ON task_history (root_task_history_id)
  WHERE root_task_history_id <> task_history_id;
CREATE TABLE success_code_set (
  success_code_set_id INTEGER NOT NULL PRIMARY KEY,
  version INTEGER NOT NULL
);
-- condition: = or == (equal), ! or != (not equal), < or >, between the return code and this code.
CREATE TABLE code_condition (
  code_condition_id INTEGER NOT NULL PRIMARY KEY,
  success_code_set_id INTEGER,
  code INTEGER NOT NULL,
  condition TEXT NOT NULL,
  version INTEGER NOT NULL,
  FOREIGN KEY (success_code_set_id) REFERENCES success_code_set (success_code_set_id)
);
CREATE INDEX code_condition_by_set ON code_condition (success_code_set_id);
CREATE TABLE task_success_code_set (
  task_id INTEGER NOT NULL,
  suffix INTEGER NOT NULL,
  success_code_set_id INTEGER NOT NULL,
  position INTEGER NOT NULL,
  PRIMARY KEY (task_id, suffix, success_code_set_id),
  FOREIGN KEY (task_id, suffix) REFERENCES task (task_id, suffix),
  FOREIGN KEY (success_code_set_id) REFERENCES success_code_set (success_code_set_id)
) WITHOUT ROWID;
CREATE INDEX task_success_code_set_by_set ON task_success_code_set (success_code_set_id);
-- action: 1 run, 2 enable, 3 disable. follow_on_condition: 0 whenever the task ends, 1 on success, 2 on failure.
-- The parent task is the one whose end fires the action; none for an action that no task has.
CREATE TABLE follow_on_action (
  follow_on_action_id INTEGER NOT NULL PRIMARY KEY,
  parent_task_id INTEGER,
  parent_suffix INTEGER NOT NULL,
  position INTEGER NOT NULL,
  action INTEGER NOT NULL,
  follow_on_condition INTEGER NOT NULL,
  version INTEGER NOT NULL,
  FOREIGN KEY (parent_task_id, parent_suffix) REFERENCES task (task_id, suffix)
);
CREATE INDEX follow_on_action_by_parent ON follow_on_action (parent_task_id, parent_suffix, position);
-- The tasks that an action acts on.
CREATE TABLE follow_on_task (
  follow_on_action_id INTEGER NOT NULL,
  task_id INTEGER NOT NULL,
  suffix INTEGER NOT NULL,
  position INTEGER NOT NULL,
  PRIMARY KEY (follow_on_action_id, task_id, suffix),
  FOREIGN KEY (follow_on_action_id) REFERENCES follow_on_action (follow_on_action_id),
  FOREIGN KEY (task_id, suffix) REFERENCES task (task_id, suffix)
) WITHOUT ROWID;
CREATE INDEX follow_on_task_by_task ON follow_on_task (task_id, suffix);
-- One row for each task that an action of a run acted on: an action cannot fire twice for one run.
-- task_exec_id: the execution that it queued, -1 for none.
CREATE TABLE follow_on_fired (
  task_history_id INTEGER NOT NULL,
  follow_on_action_id INTEGER NOT NULL,
  task_id INTEGER NOT NULL,
  suffix INTEGER NOT NULL,
  task_exec_id INTEGER NOT NULL,
  PRIMARY KEY (task_history_id, follow_on_action_id, task_id, suffix)
) WITHOUT ROWID;
-- message_type: 1 e-mail, 2 pager, 3 both. notification_condition: 0 whenever the task ends, 1 on success, 2 on failure.
-- use_email_message: 1 when the pager gets the e-mail's message, 0 when its own.
CREATE TABLE notification_action (
  notification_action_id INTEGER NOT NULL PRIMARY KEY,
  parent_task_id INTEGER,
  parent_suffix INTEGER NOT NULL,
  position INTEGER NOT NULL,
  subject TEXT,
  email_message TEXT,
  pager_message TEXT,
  message_type INTEGER NOT NULL,
  notification_condition INTEGER NOT NULL,
  use_email_message INTEGER NOT NULL,
  version INTEGER NOT NULL,
  FOREIGN KEY (parent_task_id, parent_suffix) REFERENCES task (task_id, suffix)
);
CREATE INDEX notification_action_by_parent ON notification_action (parent_task_id, parent_suffix, position);
-- Whom an action tells: names of contacts, or addresses.
CREATE TABLE notification_contact (
  notification_action_id INTEGER NOT NULL,
  contact_name TEXT NOT NULL,
  position INTEGER NOT NULL,
  PRIMARY KEY (notification_action_id, contact_name),
  FOREIGN KEY (notification_action_id) REFERENCES notification_action (notification_action_id)
) WITHOUT ROWID;
CREATE INDEX notification_contact_by_name ON notification_contact (contact_name);
CREATE TABLE contact (
  contact_name TEXT NOT NULL PRIMARY KEY,
  email TEXT,
  pager TEXT,
  version INTEGER NOT NULL
) WITHOUT ROWID;
CREATE TABLE contact_group (
  contact_group_name TEXT NOT NULL PRIMARY KEY,
  version INTEGER NOT NULL
) WITHOUT ROWID;
CREATE TABLE contact_group_member (
  contact_group_name TEXT NOT NULL,
  contact_name TEXT NOT NULL,
  position INTEGER NOT NULL,
  PRIMARY KEY (contact_group_name, contact_name),
  FOREIGN KEY (contact_group_name) REFERENCES contact_group (contact_group_name)
) WITHOUT ROWID;
CREATE INDEX contact_group_member_by_name ON contact_group_member (contact_name);
CREATE TABLE notification_contact_group (
  notification_action_id INTEGER NOT NULL,
  contact_group_name TEXT NOT NULL,
  position INTEGER NOT NULL,
  PRIMARY KEY (notification_action_id, contact_group_name),
  FOREIGN KEY (notification_action_id) REFERENCES notification_action (notification_action_id)
) WITHOUT ROWID;
CREATE INDEX notification_contact_group_by_name ON notification_contact_group (contact_group_name);
-- Messages that wait for being sent. kind: 1 e-mail, 2 pager. tries: how often sending failed.
CREATE TABLE outbox (
  outbox_id INTEGER NOT NULL PRIMARY KEY,
  task_history_id INTEGER NOT NULL,
  notification_action_id INTEGER NOT NULL,
  kind INTEGER NOT NULL,
  recipient TEXT,
  address TEXT NOT NULL,
  sender TEXT,
  subject TEXT,
  body TEXT,
  tries INTEGER NOT NULL,
  next_try INTEGER NOT NULL,
  last_error TEXT,
  UNIQUE (task_history_id, notification_action_id, kind, address)
);
CREATE INDEX outbox_by_next_try ON outbox (next_try, outbox_id);
-- Times in seconds.
CREATE TABLE task_statistic (
  task_id INTEGER NOT NULL,
  suffix INTEGER NOT NULL,
  first_execution INTEGER,
  total_successful_executions INTEGER NOT NULL,
  total_failed_executions INTEGER NOT NULL,
  total_elapsed_time INTEGER NOT NULL,
  total_row_count INTEGER NOT NULL,
  total_byte_count INTEGER NOT NULL,
  last_execution INTEGER,
  last_execution_elapsed_time INTEGER NOT NULL,
  last_execution_row_count INTEGER NOT NULL,
  last_execution_byte_count INTEGER NOT NULL,
  fastest_execution INTEGER,
  fastest_execution_elapsed_time INTEGER NOT NULL,
  fastest_execution_row_count INTEGER NOT NULL,
  fastest_execution_byte_count INTEGER NOT NULL,
  slowest_execution INTEGER,
  slowest_execution_elapsed_time INTEGER NOT NULL,
  slowest_execution_row_count INTEGER NOT NULL,
  slowest_execution_byte_count INTEGER NOT NULL,
  largest_execution INTEGER,
  largest_execution_elapsed_time INTEGER NOT NULL,
  largest_execution_row_count INTEGER NOT NULL,
  largest_execution_byte_count INTEGER NOT NULL,
  smallest_execution INTEGER,
  smallest_execution_elapsed_time INTEGER NOT NULL,
  smallest_execution_row_count INTEGER NOT NULL,
  smallest_execution_byte_count INTEGER NOT NULL,
  version INTEGER NOT NULL,
  PRIMARY KEY (task_id, suffix)
) WITHOUT ROWID;
-- For people with an SQL tool, as those of the first script.
CREATE VIEW task_schedule_v AS SELECT t.task_id, t.suffix, t.task_name, s.shared_named_schedule_id,
  s.shared_schedule_name, e.schedule_event_id, e.start_date, e.start_time, e.end_date, e.interval_type,
  e.interval_unit, e.detail, e.recurring
  FROM (SELECT task_id, suffix, NULL AS shared_named_schedule_id, schedule_event_id FROM task_schedule_event
    UNION ALL SELECT u.task_id, u.suffix, u.shared_named_schedule_id, r.schedule_event_id FROM task_shared_schedule u
    JOIN shared_schedule_event r ON r.shared_named_schedule_id = u.shared_named_schedule_id) a
  JOIN task t ON t.task_id = a.task_id AND t.suffix = a.suffix
  JOIN schedule_event e ON e.schedule_event_id = a.schedule_event_id
  LEFT JOIN shared_named_schedule s ON s.shared_named_schedule_id = a.shared_named_schedule_id;
CREATE VIEW task_group_member_v AS SELECT g.task_id, g.suffix, t.task_name, g.position, g.member_task_id,
  g.member_suffix, m.task_name AS member_task_name
  FROM task_group_member g JOIN task t ON t.task_id = g.task_id AND t.suffix = g.suffix
  JOIN task m ON m.task_id = g.member_task_id AND m.suffix = g.member_suffix;
CREATE VIEW follow_on_action_v AS SELECT a.follow_on_action_id, a.parent_task_id, a.parent_suffix,
  p.task_name AS parent_task_name,
  CASE a.follow_on_condition WHEN 0 THEN 'end' WHEN 1 THEN 'success' WHEN 2 THEN 'failure' ELSE a.follow_on_condition
  END AS follow_on_condition,
  CASE a.action WHEN 1 THEN 'run' WHEN 2 THEN 'enable' WHEN 3 THEN 'disable' ELSE a.action END AS action,
  f.task_id, f.suffix, t.task_name
  FROM follow_on_action a LEFT JOIN task p ON p.task_id = a.parent_task_id AND p.suffix = a.parent_suffix
  LEFT JOIN follow_on_task f ON f.follow_on_action_id = a.follow_on_action_id
  LEFT JOIN task t ON t.task_id = f.task_id AND t.suffix = f.suffix;
CREATE VIEW notification_action_v AS SELECT a.notification_action_id, a.parent_task_id, a.parent_suffix,
  p.task_name AS parent_task_name,
  CASE a.notification_condition WHEN 0 THEN 'end' WHEN 1 THEN 'success' WHEN 2 THEN 'failure'
  ELSE a.notification_condition END AS notification_condition,
  CASE a.message_type WHEN 1 THEN 'e-mail' WHEN 2 THEN 'pager' WHEN 3 THEN 'both' ELSE a.message_type
  END AS message_type, a.subject,
  (SELECT group_concat(contact_name, ', ') FROM notification_contact c
    WHERE c.notification_action_id = a.notification_action_id) AS contacts,
  (SELECT group_concat(contact_group_name, ', ') FROM notification_contact_group c
    WHERE c.notification_action_id = a.notification_action_id) AS contact_groups
  FROM notification_action a LEFT JOIN task p ON p.task_id = a.parent_task_id AND p.suffix = a.parent_suffix;
CREATE VIEW success_code_v AS SELECT t.task_id, t.suffix, t.task_name, u.success_code_set_id, c.condition, c.code
  FROM task_success_code_set u JOIN task t ON t.task_id = u.task_id AND t.suffix = u.suffix
  LEFT JOIN code_condition c ON c.success_code_set_id = u.success_code_set_id;
CREATE VIEW outbox_v AS SELECT outbox_id, task_history_id, notification_action_id,
  CASE kind WHEN 1 THEN 'e-mail' WHEN 2 THEN 'pager' ELSE kind END AS kind, recipient, address, subject, tries,
  strftime('%Y-%m-%d %H:%M:%f', next_try / 1000.0, 'unixepoch') AS next_try_utc, last_error
  FROM outbox;
CREATE VIEW task_statistic_v AS SELECT s.task_id, s.suffix, t.task_name, s.total_successful_executions,
  s.total_failed_executions, s.total_elapsed_time, s.total_row_count, s.total_byte_count,
  strftime('%Y-%m-%d %H:%M:%f', s.first_execution / 1000.0, 'unixepoch') AS first_execution_utc,
  strftime('%Y-%m-%d %H:%M:%f', s.last_execution / 1000.0, 'unixepoch') AS last_execution_utc,
  s.last_execution_elapsed_time, s.fastest_execution_elapsed_time, s.slowest_execution_elapsed_time
  FROM task_statistic s LEFT JOIN task t ON t.task_id = s.task_id AND t.suffix = s.suffix;
