-- Times are milliseconds since 1970-01-01 00:00 UTC; days and times of day are texts of the wall clock.
-- Each record that the library changes has a version, which counts its changes.
CREATE TABLE store_schema (
  version INTEGER NOT NULL
);
INSERT INTO store_schema (version) VALUES (0);
-- Keys below next_key are handed out or reserved by a session.
CREATE TABLE key_sequence (
  next_key INTEGER NOT NULL
);
INSERT INTO key_sequence (next_key) VALUES (1);
-- The scheduler that works on this store, one at most.
CREATE TABLE scheduler_mark (
  id INTEGER NOT NULL PRIMARY KEY CHECK (id = 1),
  scheduler TEXT NOT NULL
);
-- kind: 0 user, 1 group.
CREATE TABLE principal (
  kind INTEGER NOT NULL,
  name TEXT NOT NULL,
  superuser INTEGER NOT NULL,
  admin INTEGER NOT NULL,
  version INTEGER NOT NULL,
  PRIMARY KEY (kind, name)
) WITHOUT ROWID;
CREATE TABLE membership (
  user_name TEXT NOT NULL,
  group_name TEXT NOT NULL,
  PRIMARY KEY (user_name, group_name)
) WITHOUT ROWID;
-- object_kind: 1 task, 2 execution, 3 history, 4 result. permission: 0 read, 1 update, 2 execute.
CREATE TABLE permission (
  object_kind INTEGER NOT NULL,
  object_id INTEGER NOT NULL,
  object_suffix INTEGER NOT NULL,
  principal_kind INTEGER NOT NULL,
  principal_name TEXT NOT NULL,
  permission INTEGER NOT NULL,
  PRIMARY KEY (object_kind, object_id, object_suffix, principal_kind, principal_name, permission)
) WITHOUT ROWID;
CREATE TABLE task (
  task_id INTEGER NOT NULL,
  suffix INTEGER NOT NULL,
  task_name TEXT NOT NULL,
  description TEXT,
  task_type INTEGER NOT NULL,
  task_category TEXT,
  state INTEGER NOT NULL,
  running_status INTEGER NOT NULL,
  number_of_executions INTEGER NOT NULL,
  owner TEXT,
  modifier TEXT,
  modified INTEGER,
  user_id TEXT,
  password BLOB,
  system_id TEXT,
  kelvo_instance TEXT,
  execution_system_id TEXT,
  execution_partition_id TEXT,
  target_db_objects TEXT,
  pass_run_system INTEGER NOT NULL,
  pass_target_db_objects INTEGER NOT NULL,
  command_processor TEXT,
  processor_type INTEGER NOT NULL,
  statement_termination_char TEXT,
  working_dir TEXT,
  file_extension TEXT,
  additional_parameters TEXT,
  default_parameters TEXT,
  script_content TEXT,
  dialog_task_profile BLOB,
  brix_step_id TEXT,
  class_name TEXT,
  show_progress_class_name TEXT,
  show_result_class_name TEXT,
  generated_by TEXT,
  generated_at INTEGER,
  retry_count INTEGER NOT NULL,
  retry_interval INTEGER NOT NULL,
  stop_at_step_failure INTEGER NOT NULL,
  schedule_enable INTEGER NOT NULL,
  notification_enable INTEGER NOT NULL,
  follow_on_task_enable INTEGER NOT NULL,
  next_start INTEGER,
  current_start_date_time INTEGER,
  last_start INTEGER,
  last_end INTEGER,
  last_duration INTEGER NOT NULL,
  last_return_code INTEGER NOT NULL,
  last_success INTEGER NOT NULL,
  last_execution_user_id TEXT,
  last_execution_results TEXT,
  version INTEGER NOT NULL,
  PRIMARY KEY (task_id, suffix),
  UNIQUE (task_name, suffix)
);
CREATE TABLE schedule_event (
  schedule_event_id INTEGER NOT NULL PRIMARY KEY,
  start_date TEXT NOT NULL,
  start_time TEXT NOT NULL,
  end_date TEXT,
  interval_type INTEGER NOT NULL,
  interval_unit INTEGER NOT NULL,
  detail INTEGER NOT NULL,
  recurring INTEGER NOT NULL,
  version INTEGER NOT NULL
);
-- The rules of a task, in the order in which they were added.
CREATE TABLE task_schedule_event (
  task_id INTEGER NOT NULL,
  suffix INTEGER NOT NULL,
  schedule_event_id INTEGER NOT NULL,
  position INTEGER NOT NULL,
  PRIMARY KEY (task_id, suffix, schedule_event_id),
  FOREIGN KEY (task_id, suffix) REFERENCES task (task_id, suffix),
  FOREIGN KEY (schedule_event_id) REFERENCES schedule_event (schedule_event_id)
) WITHOUT ROWID;
CREATE INDEX task_schedule_event_by_event ON task_schedule_event (schedule_event_id);
-- status: 0 and 1 queued, 2 running, 3 a step.
CREATE TABLE task_exec (
  task_exec_id INTEGER NOT NULL PRIMARY KEY,
  task_id INTEGER NOT NULL,
  suffix INTEGER NOT NULL,
  task_history_id INTEGER NOT NULL,
  shared_named_schedule_id INTEGER NOT NULL,
  schedule_event_id INTEGER NOT NULL,
  next_start_date_time INTEGER,
  start_time INTEGER,
  brix_step_id TEXT,
  step_rc TEXT,
  partition_number TEXT,
  rook_q_position INTEGER NOT NULL,
  status INTEGER NOT NULL,
  execution_system TEXT,
  rook_job_id TEXT,
  summary_return_code TEXT,
  use_notification INTEGER NOT NULL,
  use_task_actions INTEGER NOT NULL,
  accept_defaults INTEGER NOT NULL,
  pass_run_system INTEGER NOT NULL,
  pass_target_db_objects INTEGER NOT NULL,
  additional_parameters TEXT,
  row_limit INTEGER NOT NULL,
  started_by_run_now INTEGER NOT NULL,
  user_id TEXT,
  password BLOB,
  is_real_start_time INTEGER NOT NULL,
  need_reschedule INTEGER NOT NULL,
  original_schedule_time INTEGER,
  parent_grouping_task_exec_id INTEGER NOT NULL,
  execution_partition_id TEXT,
  execution_system_id TEXT,
  v7_job_id INTEGER NOT NULL,
  version INTEGER NOT NULL
);
CREATE INDEX task_exec_by_start ON task_exec (next_start_date_time, task_exec_id);
CREATE INDEX task_exec_by_task ON task_exec (task_id, suffix);
CREATE INDEX task_exec_by_event ON task_exec (schedule_event_id);
-- One row for each scheduled instant whose run was taken on: a second run of the same instant cannot be.
CREATE TABLE run_claim (
  task_id INTEGER NOT NULL,
  suffix INTEGER NOT NULL,
  schedule_event_id INTEGER NOT NULL,
  instant_ms INTEGER NOT NULL,
  task_exec_id INTEGER NOT NULL,
  task_history_id INTEGER NOT NULL,
  PRIMARY KEY (task_id, suffix, schedule_event_id, instant_ms)
) WITHOUT ROWID;
CREATE INDEX run_claim_by_history ON run_claim (task_history_id);
-- Definitions of tasks as they stood when they ran. Equal definitions of a task (by digest) are one row.
CREATE TABLE task_snapshot (
  task_snapshot_id INTEGER NOT NULL PRIMARY KEY,
  task_id INTEGER NOT NULL,
  suffix INTEGER NOT NULL,
  task_name TEXT,
  system_id TEXT,
  execution_system_id TEXT,
  execution_partition_id TEXT,
  task_user_id TEXT,
  task_category TEXT,
  owner TEXT,
  task_type INTEGER NOT NULL,
  script_content TEXT,
  target_db_objects TEXT,
  modified INTEGER,
  schedule_enable INTEGER NOT NULL,
  notification_enable INTEGER NOT NULL,
  follow_on_task_enable INTEGER NOT NULL,
  execution_user_id TEXT,
  parameters TEXT,
  schedule_ids TEXT,
  notification_ids TEXT,
  follow_on_task_ids TEXT,
  contact_names TEXT,
  invocation_type INTEGER NOT NULL,
  highest_return_code TEXT,
  latest_snapshot INTEGER NOT NULL,
  digest BLOB,
  version INTEGER NOT NULL
);
CREATE INDEX task_snapshot_by_task ON task_snapshot (task_id, suffix, digest);
-- running_status: 0 none, 1 running, 2 succeeded, 3 failed, 4 missed, 5 interrupted, 6 waiting for a retry, 7 timed out.
CREATE TABLE task_history (
  task_history_id INTEGER NOT NULL PRIMARY KEY,
  root_task_history_id INTEGER NOT NULL,
  task_id INTEGER NOT NULL,
  task_name TEXT,
  owner TEXT,
  suffix INTEGER NOT NULL,
  rook_job_id TEXT,
  brix_step_id TEXT,
  edition_id TEXT,
  description TEXT,
  start_time INTEGER,
  end_time INTEGER,
  duration INTEGER NOT NULL,
  return_code INTEGER NOT NULL,
  notification_results TEXT,
  retry_count INTEGER NOT NULL,
  row_count INTEGER NOT NULL,
  byte_count INTEGER NOT NULL,
  running_status INTEGER NOT NULL,
  source_db_name TEXT,
  target_db_name TEXT,
  source_db_type TEXT,
  target_db_type TEXT,
  target_warehouse_name TEXT,
  summary_return_code TEXT,
  task_type INTEGER NOT NULL,
  invocation_method INTEGER NOT NULL,
  user_id TEXT,
  journal_result TEXT,
  v7_job_id INTEGER NOT NULL,
  show_results_panel_class_name TEXT,
  execution_system_id TEXT,
  execution_partition_id TEXT,
  task_category TEXT,
  follow_on_action_results TEXT,
  script_content TEXT,
  task_snapshot_id INTEGER REFERENCES task_snapshot (task_snapshot_id) ON DELETE SET NULL,
  version INTEGER NOT NULL
);
CREATE INDEX task_history_by_task ON task_history (task_id, suffix, start_time);
CREATE INDEX task_history_by_start ON task_history (start_time, task_history_id);
CREATE INDEX task_history_by_snapshot ON task_history (task_snapshot_id);
CREATE INDEX task_history_running ON task_history (running_status) WHERE running_status IN (1, 6);
CREATE TABLE task_result (
  task_result_id INTEGER NOT NULL PRIMARY KEY,
  task_history_id INTEGER REFERENCES task_history (task_history_id) ON DELETE CASCADE,
  partition_id INTEGER NOT NULL,
  return_code INTEGER NOT NULL,
  execution_results TEXT,
  start_time INTEGER,
  end_time INTEGER,
  duration INTEGER NOT NULL,
  running_status INTEGER NOT NULL,
  byte_count INTEGER NOT NULL,
  row_count INTEGER NOT NULL,
  version INTEGER NOT NULL
);
CREATE INDEX task_result_by_history ON task_result (task_history_id);
-- For people with an SQL tool: times in UTC that can be read, codes as words, no passwords.
CREATE VIEW task_v AS SELECT task_id, suffix, task_name, description, owner, command_processor,
  CASE state WHEN 0 THEN 'idle' WHEN 1 THEN 'scheduled' WHEN 2 THEN 'running' ELSE state END AS state,
  number_of_executions, schedule_enable,
  strftime('%Y-%m-%d %H:%M:%f', next_start / 1000.0, 'unixepoch') AS next_start_utc,
  strftime('%Y-%m-%d %H:%M:%f', last_start / 1000.0, 'unixepoch') AS last_start_utc,
  strftime('%Y-%m-%d %H:%M:%f', last_end / 1000.0, 'unixepoch') AS last_end_utc,
  last_return_code, last_success,
  strftime('%Y-%m-%d %H:%M:%f', modified / 1000.0, 'unixepoch') AS modified_utc
  FROM task;
CREATE VIEW task_exec_v AS SELECT e.task_exec_id, e.task_id, e.suffix, t.task_name, e.task_history_id,
  e.schedule_event_id, CASE WHEN e.status IN (0, 1) THEN 'queued' WHEN e.status = 3 THEN 'step' ELSE 'running' END
  AS status, e.started_by_run_now,
  strftime('%Y-%m-%d %H:%M:%f', e.next_start_date_time / 1000.0, 'unixepoch') AS next_start_utc,
  strftime('%Y-%m-%d %H:%M:%f', e.start_time / 1000.0, 'unixepoch') AS start_utc,
  strftime('%Y-%m-%d %H:%M:%f', e.original_schedule_time / 1000.0, 'unixepoch') AS original_schedule_utc
  FROM task_exec e LEFT JOIN task t ON t.task_id = e.task_id AND t.suffix = e.suffix;
CREATE VIEW task_history_v AS SELECT task_history_id, root_task_history_id, task_id, suffix, task_name, owner,
  CASE running_status WHEN 0 THEN 'none' WHEN 1 THEN 'running' WHEN 2 THEN 'succeeded' WHEN 3 THEN 'failed'
  WHEN 4 THEN 'missed' WHEN 5 THEN 'interrupted' WHEN 6 THEN 'waiting for a retry' WHEN 7 THEN 'timed out'
  ELSE running_status END AS status,
  strftime('%Y-%m-%d %H:%M:%f', start_time / 1000.0, 'unixepoch') AS start_utc,
  strftime('%Y-%m-%d %H:%M:%f', end_time / 1000.0, 'unixepoch') AS end_utc,
  duration, return_code, retry_count, invocation_method, user_id
  FROM task_history;
CREATE VIEW run_claim_v AS SELECT task_id, suffix, schedule_event_id,
  strftime('%Y-%m-%d %H:%M:%f', instant_ms / 1000.0, 'unixepoch') AS instant_utc, task_exec_id, task_history_id
  FROM run_claim;
