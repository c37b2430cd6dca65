-- The site's database on PostgreSQL: the same tables, indexes and counts as
-- schema.sql, in PostgreSQL's terms. Text columns are citext, so names and
-- texts compare without case as they do under NOCASE; dates stay local time
-- as text, so they sort, compare and print as on SQLite. The functions the
-- store translates the pages' date and text functions into are made here.
-- Searches of three characters or more read trigram indexes (pg_trgm).

CREATE EXTENSION IF NOT EXISTS citext;
-- Searches of a run of three characters or more read trigram indexes.
CREATE EXTENSION IF NOT EXISTS pg_trgm;
-- A searched column as plain text: the form its trigram index serves
-- (the case-blind comparison of the column's own type is not served by it).
CREATE OR REPLACE FUNCTION tav_text(s citext) RETURNS text LANGUAGE sql IMMUTABLE PARALLEL SAFE
  AS 'select s::text';

CREATE FUNCTION tav_now() RETURNS text LANGUAGE sql STABLE
  AS $$ SELECT to_char(localtimestamp, 'YYYY-MM-DD HH24:MI:SS') $$;

CREATE FUNCTION tav_invalid() RETURNS text LANGUAGE plpgsql
  AS $$ BEGIN RAISE EXCEPTION 'Invalid procedure call or argument'; END $$;

-- Positions and slices count characters; instr compares without case.
CREATE FUNCTION tav_left(s text, n bigint) RETURNS text LANGUAGE sql IMMUTABLE
  AS $$ SELECT CASE WHEN s IS NULL THEN NULL WHEN n IS NULL OR n < 0 THEN tav_invalid()
                    ELSE left(s, least(n, 2147483647)::int) END $$;
CREATE FUNCTION tav_right(s text, n bigint) RETURNS text LANGUAGE sql IMMUTABLE
  AS $$ SELECT CASE WHEN s IS NULL THEN NULL WHEN n IS NULL OR n < 0 THEN tav_invalid()
                    ELSE right(s, least(n, 2147483647)::int) END $$;
CREATE FUNCTION tav_mid(s text, start bigint) RETURNS text LANGUAGE sql IMMUTABLE
  AS $$ SELECT CASE WHEN s IS NULL THEN NULL WHEN start IS NULL OR start < 1 THEN tav_invalid()
                    ELSE substr(s, least(start, 2147483647)::int) END $$;
CREATE FUNCTION tav_mid(s text, start bigint, n bigint) RETURNS text LANGUAGE sql IMMUTABLE
  AS $$ SELECT CASE WHEN s IS NULL THEN NULL WHEN start IS NULL OR start < 1 OR n IS NULL OR n < 0
                    THEN tav_invalid() ELSE substr(s, least(start, 2147483647)::int, least(n, 2147483647)::int) END $$;
CREATE FUNCTION tav_len(s text) RETURNS bigint LANGUAGE sql IMMUTABLE
  AS $$ SELECT char_length(s) $$;
CREATE FUNCTION tav_instr(start bigint, s text, part text) RETURNS bigint LANGUAGE plpgsql IMMUTABLE AS $$
DECLARE at int;
BEGIN
  IF start IS NULL OR s IS NULL OR part IS NULL THEN RETURN NULL; END IF;
  IF start < 1 THEN PERFORM tav_invalid(); END IF;
  IF start > char_length(s) THEN RETURN 0; END IF;
  IF part = '' THEN RETURN start; END IF;
  at := strpos(lower(substr(s, start::int)), lower(part));
  RETURN CASE WHEN at = 0 THEN 0 ELSE at + start - 1 END;
END $$;
CREATE FUNCTION tav_instr(s text, part text) RETURNS bigint LANGUAGE sql IMMUTABLE
  AS $$ SELECT tav_instr(1, s, part) $$;

-- A date as the pages give it: "YYYY-MM-DD[ HH:MM[:SS]]" (or with '/'), a
-- bare time (on the platform's day 0, 1899-12-30).
CREATE FUNCTION tav_stamp(v text) RETURNS timestamp LANGUAGE plpgsql IMMUTABLE AS $$
BEGIN
  IF v ~ '^\s*\d{1,2}:\d{1,2}(:\d{1,2})?\s*$' THEN RETURN ('1899-12-30 ' || trim(v))::timestamp; END IF;
  IF v !~ '^\s*\d{3,4}[-/]\d{1,2}[-/]\d{1,2}([ T]+\d{1,2}(:\d{1,2}){0,2}(\.\d*)?)?\s*$' THEN
    RAISE EXCEPTION 'Data type mismatch in criteria expression.';
  END IF;
  RETURN replace(trim(v), '/', '-')::timestamp;
EXCEPTION WHEN datetime_field_overflow OR invalid_datetime_format THEN
  RAISE EXCEPTION 'Data type mismatch in criteria expression.';
END $$;

-- DateDiff(interval, a, b): the interval boundaries between a and b.
CREATE FUNCTION tav_datediff(iv text, a text, b text) RETURNS bigint LANGUAGE plpgsql IMMUTABLE AS $$
DECLARE ta timestamp; tb timestamp; da bigint; db bigint; sa bigint; sb bigint;
BEGIN
  IF iv IS NULL THEN PERFORM tav_invalid(); END IF;
  IF a IS NULL OR b IS NULL THEN RETURN NULL; END IF;
  ta := tav_stamp(a); tb := tav_stamp(b);
  da := ta::date - date '1970-01-01'; db := tb::date - date '1970-01-01';
  sa := floor(extract(epoch FROM ta)); sb := floor(extract(epoch FROM tb));
  CASE lower(iv)
    WHEN 'd', 'y' THEN RETURN db - da;
    WHEN 'h' THEN RETURN floor(sb / 3600.0) - floor(sa / 3600.0);
    WHEN 'n' THEN RETURN floor(sb / 60.0) - floor(sa / 60.0);
    WHEN 's' THEN RETURN sb - sa;
    WHEN 'm' THEN RETURN (extract(year FROM tb) * 12 + extract(month FROM tb))
                       - (extract(year FROM ta) * 12 + extract(month FROM ta));
    WHEN 'q' THEN RETURN (extract(year FROM tb) * 4 + extract(quarter FROM tb))
                       - (extract(year FROM ta) * 4 + extract(quarter FROM ta));
    WHEN 'yyyy' THEN RETURN extract(year FROM tb) - extract(year FROM ta);
    WHEN 'w' THEN RETURN trunc((db - da) / 7.0);
    WHEN 'ww' THEN RETURN floor((db + 4) / 7.0) - floor((da + 4) / 7.0);
    ELSE PERFORM tav_invalid();
  END CASE;
  RETURN NULL;
END $$;

CREATE TABLE "user" (
  id bigint GENERATED BY DEFAULT AS IDENTITY PRIMARY KEY,
  username citext,
  password citext,
  TrueName citext,
  DepartMentID bigint,
  IDCard citext,
  sex citext,
  Telphone citext,
  Mobile citext,
  Email citext,
  Duty citext,
  Address citext,
  SpeTech citext,
  Zip citext,
  UserRemark citext,
  menu_idstr citext,
  record bigint DEFAULT 30,
  plays bigint DEFAULT 0,
  start_meeting bigint DEFAULT 0,
  online bigint DEFAULT 0,
  ip citext,
  password_lose bigint DEFAULT 0,
  pen_ok citext,
  pen_no citext,
  must_change bigint DEFAULT 0
);

CREATE TABLE menu (
  id bigint GENERATED BY DEFAULT AS IDENTITY PRIMARY KEY,
  menu_id citext,
  menu_text citext,
  user_text citext,
  xm citext
);

CREATE TABLE software (
  id bigint GENERATED BY DEFAULT AS IDENTITY PRIMARY KEY,
  softname citext,
  Hardserial citext
);

CREATE TABLE monitor (
  id bigint GENERATED BY DEFAULT AS IDENTITY PRIMARY KEY,
  user_id bigint,
  work_text citext,
  work_date citext DEFAULT tav_now()
);

CREATE TABLE Email (
  id bigint GENERATED BY DEFAULT AS IDENTITY PRIMARY KEY,
  send_user_id bigint,
  to_user_id bigint,
  Email_title citext,
  Email_text citext,
  Email_doc citext DEFAULT '0',
  Email_id bigint,
  email_date citext DEFAULT to_char(localtimestamp, 'YYYY-MM-DD'),
  email_time citext DEFAULT to_char(localtimestamp, 'HH24:MI:SS'),
  read bigint DEFAULT 0,
  reply bigint DEFAULT 0,
  To_del bigint DEFAULT 0,
  Send_del bigint DEFAULT 0
);

CREATE TABLE Datas (
  id bigint GENERATED BY DEFAULT AS IDENTITY PRIMARY KEY,
  User_id bigint,
  D_title citext,
  D_text citext,
  D_afile citext,
  Sub_menu citext,
  Main_menu citext,
  D_date citext DEFAULT tav_now(),
  lock citext DEFAULT '0'
);

CREATE TABLE Book (
  id bigint GENERATED BY DEFAULT AS IDENTITY PRIMARY KEY,
  user_id bigint,
  Book_title citext,
  Book_text citext,
  Reply_id bigint,
  User_IP citext,
  Read_num bigint DEFAULT 0,
  Reply_num bigint DEFAULT 0,
  reply_read bigint DEFAULT 0,
  Book_date citext DEFAULT tav_now()
);

CREATE TABLE Chat (
  id bigint GENERATED BY DEFAULT AS IDENTITY PRIMARY KEY,
  user_id bigint,
  Truename citext,
  To_username citext,
  Chat_text citext,
  chat_date citext DEFAULT tav_now()
);

CREATE TABLE Address (
  id bigint GENERATED BY DEFAULT AS IDENTITY PRIMARY KEY,
  User_id bigint,
  Name citext,
  Work citext,
  Telphone citext,
  Mobile citext,
  Sex citext,
  Email citext
);

CREATE TABLE Record (
  id bigint GENERATED BY DEFAULT AS IDENTITY PRIMARY KEY,
  user_id bigint,
  Rec_title citext,
  Rec_text citext,
  Rec_money NUMERIC,
  Rec_date citext DEFAULT tav_now()
);

CREATE TABLE Medium (
  id bigint GENERATED BY DEFAULT AS IDENTITY PRIMARY KEY,
  Title citext,
  Medium_text citext,
  Path citext,
  filename citext,
  file_type citext,
  Author citext,
  PY citext,
  click_num bigint DEFAULT 0,
  Append_date citext DEFAULT tav_now()
);

CREATE TABLE DepartMent (
  id bigint GENERATED BY DEFAULT AS IDENTITY PRIMARY KEY,
  name citext,
  Remark citext
);

CREATE TABLE word_type (
  id bigint GENERATED BY DEFAULT AS IDENTITY PRIMARY KEY,
  name citext,
  Remark citext
);

CREATE TABLE Word (
  id bigint GENERATED BY DEFAULT AS IDENTITY PRIMARY KEY,
  word_type bigint,
  signed bigint,
  ywsh citext,
  hh citext,
  fh citext,
  ldsh citext,
  ldqf citext
);

CREATE TABLE Files (
  id bigint GENERATED BY DEFAULT AS IDENTITY PRIMARY KEY,
  py citext
);

-- The lookups the pages repeat on every poll and list (see schema.sql).
-- Every column NULLS FIRST, as the other engine orders: the pages' "order
-- by x desc" reads NULLS LAST, a backward scan of these. A list's index
-- ends with the id, as the other engine's end with the row id: a screen is
-- read in (order, id) order, and the rows before it are skipped in the
-- index alone.
CREATE INDEX user_username ON "user"(username NULLS FIRST);
CREATE INDEX menu_xm ON menu(xm NULLS FIRST);
CREATE INDEX menu_menu_id ON menu(menu_id NULLS FIRST);
CREATE INDEX menu_menu_text ON menu(menu_text NULLS FIRST);
CREATE INDEX software_softname ON software(softname NULLS FIRST);
CREATE INDEX monitor_user_id ON monitor(user_id NULLS FIRST);
CREATE INDEX email_to_user_id ON Email(to_user_id NULLS FIRST);
CREATE INDEX email_send_user_id ON Email(send_user_id NULLS FIRST);
CREATE INDEX email_doc ON Email(Email_doc NULLS FIRST);
-- With the id: a category's newest items are read from the index.
CREATE INDEX datas_sub_menu ON Datas(Sub_menu NULLS FIRST, id NULLS FIRST);
CREATE INDEX book_reply_id ON Book(Reply_id NULLS FIRST);
CREATE INDEX book_user_id ON Book(user_id NULLS FIRST);
CREATE INDEX book_unread ON Book(reply_read NULLS FIRST, Reply_id NULLS FIRST);
CREATE INDEX record_user_id ON Record(user_id NULLS FIRST);
CREATE INDEX medium_file_type ON Medium(file_type NULLS FIRST);
-- The lists. Databases built before these had them under other names,
-- without NULLS FIRST or the id; those go.
DROP INDEX IF EXISTS email_inbox_list;
DROP INDEX IF EXISTS email_sent_list;
DROP INDEX IF EXISTS datas_list;
DROP INDEX IF EXISTS book_reply_date;
DROP INDEX IF EXISTS address_user_id;
DROP INDEX IF EXISTS record_user_id_date;
DROP INDEX IF EXISTS medium_file_type_py;
CREATE INDEX IF NOT EXISTS user_list ON "user"(username NULLS FIRST, id NULLS FIRST);
CREATE INDEX IF NOT EXISTS email_inbox_by_id ON Email(to_user_id NULLS FIRST, To_del NULLS FIRST, id NULLS FIRST);
CREATE INDEX IF NOT EXISTS email_sent_by_id ON Email(send_user_id NULLS FIRST, Send_del NULLS FIRST, id NULLS FIRST);
CREATE INDEX IF NOT EXISTS datas_list_by_date ON Datas(Sub_menu NULLS FIRST, D_date NULLS FIRST, id NULLS FIRST);
CREATE INDEX IF NOT EXISTS book_threads ON Book(Reply_id NULLS FIRST, Book_date NULLS FIRST, id NULLS FIRST);
CREATE INDEX IF NOT EXISTS address_list ON Address(User_id NULLS FIRST, id NULLS FIRST);
CREATE INDEX IF NOT EXISTS record_list ON Record(user_id NULLS FIRST, Rec_date NULLS FIRST, id NULLS FIRST);
CREATE INDEX IF NOT EXISTS medium_list ON Medium(file_type NULLS FIRST, PY NULLS FIRST, id NULLS FIRST);
-- The searched columns (the search's list of them names the same).
CREATE INDEX IF NOT EXISTS datas_title_words ON Datas USING gin (D_title gin_trgm_ops);
CREATE INDEX IF NOT EXISTS email_title_words ON Email USING gin (Email_title gin_trgm_ops);
CREATE INDEX IF NOT EXISTS email_text_words ON Email USING gin (Email_text gin_trgm_ops);
CREATE INDEX user_online ON "user"(id NULLS FIRST) WHERE online<>0;
CREATE INDEX user_password_lose ON "user"(id NULLS FIRST) WHERE password_lose<>0;

-- The counts the lists read instead of counting rows, kept by triggers on
-- every change as on SQLite.
CREATE TABLE datas_tally (
  Sub_menu citext PRIMARY KEY,
  num bigint NOT NULL DEFAULT 0
);
CREATE FUNCTION datas_tally_keep() RETURNS trigger LANGUAGE plpgsql AS $$
BEGIN
  IF TG_OP IN ('DELETE', 'UPDATE') AND OLD.Sub_menu IS NOT NULL THEN
    UPDATE datas_tally SET num = num - 1 WHERE Sub_menu = OLD.Sub_menu;
  END IF;
  IF TG_OP IN ('INSERT', 'UPDATE') AND NEW.Sub_menu IS NOT NULL THEN
    INSERT INTO datas_tally(Sub_menu, num) VALUES (NEW.Sub_menu, 1)
      ON CONFLICT (Sub_menu) DO UPDATE SET num = datas_tally.num + 1;
  END IF;
  RETURN NULL;
END $$;
CREATE TRIGGER datas_tally_insert AFTER INSERT OR DELETE ON Datas FOR EACH ROW EXECUTE FUNCTION datas_tally_keep();
CREATE TRIGGER datas_tally_move AFTER UPDATE OF Sub_menu ON Datas FOR EACH ROW EXECUTE FUNCTION datas_tally_keep();

-- Mailbox folders: 0 the inbox, 1 its read mails, 2 the deleted mails, 3 the
-- sent mails; and the unread mails of each account (read=0, To_del<>2).
CREATE TABLE email_tally (
  user_id bigint NOT NULL,
  folder bigint NOT NULL,
  num bigint NOT NULL DEFAULT 0,
  PRIMARY KEY (user_id, folder)
);
CREATE TABLE unread_tally (
  user_id bigint NOT NULL PRIMARY KEY,
  num bigint NOT NULL DEFAULT 0
);
CREATE FUNCTION email_tally_add(r Email, d bigint) RETURNS void LANGUAGE plpgsql AS $$
BEGIN
  IF r.to_user_id IS NOT NULL THEN
    INSERT INTO email_tally(user_id, folder, num)
      SELECT r.to_user_id, f, 0 FROM unnest(ARRAY[0, 1, 2]) f ON CONFLICT DO NOTHING;
    UPDATE email_tally SET num = num + d WHERE user_id = r.to_user_id AND ((folder = 0 AND r.To_del = 0)
      OR (folder = 1 AND r.read = 1 AND r.To_del = 0) OR (folder = 2 AND r.To_del = 1));
    IF r.read = 0 AND r.To_del <> 2 THEN
      INSERT INTO unread_tally(user_id, num) VALUES (r.to_user_id, d)
        ON CONFLICT (user_id) DO UPDATE SET num = unread_tally.num + d;
    END IF;
  END IF;
  IF r.send_user_id IS NOT NULL THEN
    INSERT INTO email_tally(user_id, folder, num) VALUES (r.send_user_id, 3, 0) ON CONFLICT DO NOTHING;
    UPDATE email_tally SET num = num + d WHERE user_id = r.send_user_id AND folder = 3 AND r.Send_del = 0;
  END IF;
END $$;
CREATE FUNCTION email_tally_keep() RETURNS trigger LANGUAGE plpgsql AS $$
BEGIN
  IF TG_OP IN ('DELETE', 'UPDATE') THEN PERFORM email_tally_add(OLD, -1); END IF;
  IF TG_OP IN ('INSERT', 'UPDATE') THEN PERFORM email_tally_add(NEW, 1); END IF;
  RETURN NULL;
END $$;
CREATE TRIGGER email_tally_insert AFTER INSERT OR DELETE ON Email FOR EACH ROW EXECUTE FUNCTION email_tally_keep();
CREATE TRIGGER email_tally_update AFTER UPDATE OF to_user_id, send_user_id, read, To_del, Send_del ON Email
  FOR EACH ROW EXECUTE FUNCTION email_tally_keep();

-- Threads of the guest book (messages that are no reply).
CREATE TABLE book_tally (
  id bigint PRIMARY KEY CHECK (id = 1),
  num bigint NOT NULL DEFAULT 0
);
INSERT INTO book_tally(id, num) VALUES (1, 0);
CREATE FUNCTION book_tally_keep() RETURNS trigger LANGUAGE plpgsql AS $$
BEGIN
  UPDATE book_tally SET num = num
    - CASE WHEN TG_OP IN ('DELETE', 'UPDATE') AND OLD.Reply_id = 0 THEN 1 ELSE 0 END
    + CASE WHEN TG_OP IN ('INSERT', 'UPDATE') AND NEW.Reply_id = 0 THEN 1 ELSE 0 END;
  RETURN NULL;
END $$;
CREATE TRIGGER book_tally_insert AFTER INSERT OR DELETE ON Book FOR EACH ROW EXECUTE FUNCTION book_tally_keep();
CREATE TRIGGER book_tally_move AFTER UPDATE OF Reply_id ON Book FOR EACH ROW EXECUTE FUNCTION book_tally_keep();

-- Cards of each account.
CREATE TABLE address_tally (
  User_id bigint PRIMARY KEY,
  num bigint NOT NULL DEFAULT 0
);
CREATE FUNCTION address_tally_keep() RETURNS trigger LANGUAGE plpgsql AS $$
BEGIN
  IF TG_OP IN ('DELETE', 'UPDATE') AND OLD.User_id IS NOT NULL THEN
    UPDATE address_tally SET num = num - 1 WHERE User_id = OLD.User_id;
  END IF;
  IF TG_OP IN ('INSERT', 'UPDATE') AND NEW.User_id IS NOT NULL THEN
    INSERT INTO address_tally(User_id, num) VALUES (NEW.User_id, 1)
      ON CONFLICT (User_id) DO UPDATE SET num = address_tally.num + 1;
  END IF;
  RETURN NULL;
END $$;
CREATE TRIGGER address_tally_insert AFTER INSERT OR DELETE ON Address FOR EACH ROW EXECUTE FUNCTION address_tally_keep();
CREATE TRIGGER address_tally_move AFTER UPDATE OF User_id ON Address FOR EACH ROW EXECUTE FUNCTION address_tally_keep();

-- Accounts.
CREATE TABLE user_tally (
  id bigint PRIMARY KEY CHECK (id = 1),
  num bigint NOT NULL DEFAULT 0
);
INSERT INTO user_tally(id, num) VALUES (1, 0);
CREATE FUNCTION user_tally_keep() RETURNS trigger LANGUAGE plpgsql AS $$
BEGIN
  UPDATE user_tally SET num = num + CASE TG_OP WHEN 'INSERT' THEN 1 ELSE -1 END;
  RETURN NULL;
END $$;
CREATE TRIGGER user_tally_insert AFTER INSERT OR DELETE ON "user" FOR EACH ROW EXECUTE FUNCTION user_tally_keep();

-- A row written with its own id (an import, a moved row) moves the id
-- sequence past it, as SQLite's AUTOINCREMENT does: the next row without
-- an id never meets it.
CREATE FUNCTION tav_follow_id() RETURNS trigger LANGUAGE plpgsql AS $$
BEGIN
  -- TG_ARGV[0]: the table's id sequence.
  IF NEW.id > coalesce(pg_sequence_last_value(TG_ARGV[0]::regclass), 0) THEN
    PERFORM setval(TG_ARGV[0]::regclass, NEW.id);
  END IF;
  RETURN NULL;
END $$;
DO $$
DECLARE t text;
BEGIN
  FOREACH t IN ARRAY ARRAY['user', 'menu', 'software', 'monitor', 'email', 'datas', 'book', 'chat', 'address',
                           'record', 'medium', 'department', 'word_type', 'word', 'files'] LOOP
    EXECUTE format('CREATE TRIGGER %I AFTER INSERT OR UPDATE OF id ON %I FOR EACH ROW EXECUTE FUNCTION tav_follow_id(%L)',
                   t || '_follow_id', t, pg_get_serial_sequence(quote_ident(t), 'id'));
  END LOOP;
END $$;

-- The sessions of the servers that share this database, keyed by a hash of
-- the session id (never the id itself): the values as the program's text,
-- whether an account is signed in, the expiry in seconds since the epoch.
-- IF NOT EXISTS: a database built before the table gets it at the next serve.
CREATE TABLE IF NOT EXISTS tav_session (
  id_hash text PRIMARY KEY,
  vals text NOT NULL,
  account integer NOT NULL DEFAULT 0,
  expires bigint NOT NULL
);
CREATE INDEX IF NOT EXISTS tav_session_idle ON tav_session (account, expires);
