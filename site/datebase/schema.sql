-- Tables of the site's database. Text compares without case, as the pages
-- expect; dates are local time as text so that they sort and print plainly.
-- Columns that inserts leave out and pages compare carry their defaults here.
-- `serve` makes every table, index and trigger an older database lacks from
-- this text; an INSERT right after a CREATE TABLE fills that table from the
-- rows already there, so write it to hold on a full database too.

CREATE TABLE user (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  username TEXT COLLATE NOCASE,
  password TEXT COLLATE NOCASE,
  TrueName TEXT COLLATE NOCASE,
  DepartMentID INTEGER,
  IDCard TEXT COLLATE NOCASE,
  sex TEXT COLLATE NOCASE,
  Telphone TEXT COLLATE NOCASE,
  Mobile TEXT COLLATE NOCASE,
  Email TEXT COLLATE NOCASE,
  Duty TEXT COLLATE NOCASE,
  Address TEXT COLLATE NOCASE,
  SpeTech TEXT COLLATE NOCASE,
  Zip TEXT COLLATE NOCASE,
  UserRemark TEXT COLLATE NOCASE,
  menu_idstr TEXT COLLATE NOCASE,
  record INTEGER DEFAULT 30,
  plays INTEGER DEFAULT 0,
  start_meeting INTEGER DEFAULT 0,
  online INTEGER DEFAULT 0,
  ip TEXT COLLATE NOCASE,
  password_lose INTEGER DEFAULT 0,
  pen_ok TEXT COLLATE NOCASE,
  pen_no TEXT COLLATE NOCASE,
  must_change INTEGER DEFAULT 0
);

CREATE TABLE menu (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  menu_id TEXT COLLATE NOCASE,
  menu_text TEXT COLLATE NOCASE,
  user_text TEXT COLLATE NOCASE,
  xm TEXT COLLATE NOCASE
);

CREATE TABLE software (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  softname TEXT COLLATE NOCASE,
  Hardserial TEXT COLLATE NOCASE
);

CREATE TABLE monitor (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  user_id INTEGER,
  work_text TEXT COLLATE NOCASE,
  work_date TEXT DEFAULT (strftime('%Y-%m-%d %H:%M:%S', 'now', 'localtime'))
);

CREATE TABLE Email (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  send_user_id INTEGER,
  to_user_id INTEGER,
  Email_title TEXT COLLATE NOCASE,
  Email_text TEXT COLLATE NOCASE,
  Email_doc TEXT COLLATE NOCASE DEFAULT '0',
  Email_id INTEGER,
  email_date TEXT DEFAULT (strftime('%Y-%m-%d', 'now', 'localtime')),
  email_time TEXT DEFAULT (strftime('%H:%M:%S', 'now', 'localtime')),
  read INTEGER DEFAULT 0,
  reply INTEGER DEFAULT 0,
  To_del INTEGER DEFAULT 0,
  Send_del INTEGER DEFAULT 0
);

CREATE TABLE Datas (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  User_id INTEGER,
  D_title TEXT COLLATE NOCASE,
  D_text TEXT COLLATE NOCASE,
  D_afile TEXT COLLATE NOCASE,
  Sub_menu TEXT COLLATE NOCASE,
  Main_menu TEXT COLLATE NOCASE,
  D_date TEXT DEFAULT (strftime('%Y-%m-%d %H:%M:%S', 'now', 'localtime')),
  lock TEXT COLLATE NOCASE DEFAULT '0'
);

CREATE TABLE Book (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  user_id INTEGER,
  Book_title TEXT COLLATE NOCASE,
  Book_text TEXT COLLATE NOCASE,
  Reply_id INTEGER,
  User_IP TEXT COLLATE NOCASE,
  Read_num INTEGER DEFAULT 0,
  Reply_num INTEGER DEFAULT 0,
  reply_read INTEGER DEFAULT 0,
  Book_date TEXT DEFAULT (strftime('%Y-%m-%d %H:%M:%S', 'now', 'localtime'))
);

CREATE TABLE Chat (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  user_id INTEGER,
  Truename TEXT COLLATE NOCASE,
  To_username TEXT COLLATE NOCASE,
  Chat_text TEXT COLLATE NOCASE,
  chat_date TEXT DEFAULT (strftime('%Y-%m-%d %H:%M:%S', 'now', 'localtime'))
);

CREATE TABLE Address (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  User_id INTEGER,
  Name TEXT COLLATE NOCASE,
  Work TEXT COLLATE NOCASE,
  Telphone TEXT COLLATE NOCASE,
  Mobile TEXT COLLATE NOCASE,
  Sex TEXT COLLATE NOCASE,
  Email TEXT COLLATE NOCASE
);

CREATE TABLE Record (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  user_id INTEGER,
  Rec_title TEXT COLLATE NOCASE,
  Rec_text TEXT COLLATE NOCASE,
  Rec_money NUMERIC,
  Rec_date TEXT DEFAULT (strftime('%Y-%m-%d %H:%M:%S', 'now', 'localtime'))
);

CREATE TABLE Medium (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  Title TEXT COLLATE NOCASE,
  Medium_text TEXT COLLATE NOCASE,
  Path TEXT COLLATE NOCASE,
  filename TEXT COLLATE NOCASE,
  file_type TEXT COLLATE NOCASE,
  Author TEXT COLLATE NOCASE,
  PY TEXT COLLATE NOCASE,
  click_num INTEGER DEFAULT 0,
  Append_date TEXT DEFAULT (strftime('%Y-%m-%d %H:%M:%S', 'now', 'localtime'))
);

CREATE TABLE DepartMent (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  name TEXT COLLATE NOCASE,
  Remark TEXT COLLATE NOCASE
);

CREATE TABLE word_type (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  name TEXT COLLATE NOCASE,
  Remark TEXT COLLATE NOCASE
);

CREATE TABLE Word (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  word_type INTEGER,
  signed INTEGER,
  ywsh TEXT COLLATE NOCASE,
  hh TEXT COLLATE NOCASE,
  fh TEXT COLLATE NOCASE,
  ldsh TEXT COLLATE NOCASE,
  ldqf TEXT COLLATE NOCASE
);

CREATE TABLE Files (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  py TEXT COLLATE NOCASE
);

-- Indexes for the lookups the pages repeat on every poll and list. Each
-- covers one column compared for equality, so rows of equal key still come
-- in id order and a statement without "order by" lists as it did without.
CREATE INDEX user_username ON user(username);
CREATE INDEX menu_xm ON menu(xm);
CREATE INDEX menu_menu_id ON menu(menu_id);
CREATE INDEX software_softname ON software(softname);
CREATE INDEX monitor_user_id ON monitor(user_id);
CREATE INDEX email_to_user_id ON Email(to_user_id);
CREATE INDEX email_send_user_id ON Email(send_user_id);
CREATE INDEX datas_sub_menu ON Datas(Sub_menu);
CREATE INDEX book_reply_id ON Book(Reply_id);
CREATE INDEX book_user_id ON Book(user_id);
CREATE INDEX address_user_id ON Address(User_id);
CREATE INDEX record_user_id ON Record(user_id);

-- Data centre: categories, items and their lists.
-- A category's list, newest by date (Data_list.asp), and its newest by id
-- (data_home.asp: the index on Sub_menu alone already holds the id order).
-- The id makes equal dates come in id order; the title beside it lets a
-- title search read the index alone, not the rows with their long texts.
CREATE INDEX datas_list ON Datas(Sub_menu, D_date, id, D_title);
-- The main menu's name by its handle (Data_read.asp, Data_Input.asp).
CREATE INDEX menu_menu_text ON menu(menu_text);
-- The number of items of each category, kept by the store on every insert,
-- delete and move: the list's page count without counting a long category
-- row by row on every view. Equal to count(id) ... where Sub_menu=... .
CREATE TABLE datas_tally (
  Sub_menu TEXT COLLATE NOCASE PRIMARY KEY,
  num INTEGER NOT NULL DEFAULT 0
);
INSERT INTO datas_tally(Sub_menu, num)
  SELECT Sub_menu, count(*) FROM Datas WHERE Sub_menu IS NOT NULL GROUP BY Sub_menu;
CREATE TRIGGER datas_tally_insert AFTER INSERT ON Datas WHEN NEW.Sub_menu IS NOT NULL BEGIN
  INSERT OR IGNORE INTO datas_tally(Sub_menu, num) VALUES (NEW.Sub_menu, 0);
  UPDATE datas_tally SET num = num + 1 WHERE Sub_menu = NEW.Sub_menu;
END;
CREATE TRIGGER datas_tally_delete AFTER DELETE ON Datas WHEN OLD.Sub_menu IS NOT NULL BEGIN
  UPDATE datas_tally SET num = num - 1 WHERE Sub_menu = OLD.Sub_menu;
END;
CREATE TRIGGER datas_tally_move AFTER UPDATE OF Sub_menu ON Datas BEGIN
  UPDATE datas_tally SET num = num - 1 WHERE OLD.Sub_menu IS NOT NULL AND Sub_menu = OLD.Sub_menu;
  INSERT OR IGNORE INTO datas_tally(Sub_menu, num) SELECT NEW.Sub_menu, 0 WHERE NEW.Sub_menu IS NOT NULL;
  UPDATE datas_tally SET num = num + 1 WHERE NEW.Sub_menu IS NOT NULL AND Sub_menu = NEW.Sub_menu;
END;

-- Mail: mailboxes by recipient, sender and folder.
-- The title beside each entry, as for the items: a title search reads the
-- index, not the bodies.
CREATE INDEX email_inbox_list ON Email(to_user_id, To_del, id, Email_title);
CREATE INDEX email_sent_list ON Email(send_user_id, Send_del, id, Email_title);
CREATE INDEX email_doc ON Email(Email_doc);
-- The size of each mailbox folder, kept on every change of a mail: the
-- list's page count without counting a long inbox on every view. Folder 0
-- the inbox (to_user_id, To_del=0), 1 its read mails (read=1), 2 the
-- deleted mails (To_del=1), 3 the sent mails (send_user_id, Send_del=0).
CREATE TABLE email_tally (
  user_id INTEGER NOT NULL,
  folder INTEGER NOT NULL,
  num INTEGER NOT NULL DEFAULT 0,
  PRIMARY KEY (user_id, folder)
);
INSERT INTO email_tally(user_id, folder, num)
  SELECT to_user_id, 0, count(*) FILTER (WHERE To_del = 0) FROM Email WHERE to_user_id IS NOT NULL GROUP BY to_user_id
  UNION ALL SELECT to_user_id, 1, count(*) FILTER (WHERE read = 1 AND To_del = 0) FROM Email
    WHERE to_user_id IS NOT NULL GROUP BY to_user_id
  UNION ALL SELECT to_user_id, 2, count(*) FILTER (WHERE To_del = 1) FROM Email
    WHERE to_user_id IS NOT NULL GROUP BY to_user_id
  UNION ALL SELECT send_user_id, 3, count(*) FILTER (WHERE Send_del = 0) FROM Email
    WHERE send_user_id IS NOT NULL GROUP BY send_user_id;
CREATE TRIGGER email_tally_insert AFTER INSERT ON Email BEGIN
  INSERT OR IGNORE INTO email_tally(user_id, folder) SELECT NEW.to_user_id, 0 WHERE NEW.to_user_id IS NOT NULL
    UNION ALL SELECT NEW.to_user_id, 1 WHERE NEW.to_user_id IS NOT NULL
    UNION ALL SELECT NEW.to_user_id, 2 WHERE NEW.to_user_id IS NOT NULL
    UNION ALL SELECT NEW.send_user_id, 3 WHERE NEW.send_user_id IS NOT NULL;
  UPDATE email_tally SET num = num + 1 WHERE user_id = NEW.to_user_id AND ((folder = 0 AND NEW.To_del = 0)
    OR (folder = 1 AND NEW.read = 1 AND NEW.To_del = 0) OR (folder = 2 AND NEW.To_del = 1));
  UPDATE email_tally SET num = num + 1 WHERE user_id = NEW.send_user_id AND folder = 3 AND NEW.Send_del = 0;
END;
CREATE TRIGGER email_tally_delete AFTER DELETE ON Email BEGIN
  UPDATE email_tally SET num = num - 1 WHERE user_id = OLD.to_user_id AND ((folder = 0 AND OLD.To_del = 0)
    OR (folder = 1 AND OLD.read = 1 AND OLD.To_del = 0) OR (folder = 2 AND OLD.To_del = 1));
  UPDATE email_tally SET num = num - 1 WHERE user_id = OLD.send_user_id AND folder = 3 AND OLD.Send_del = 0;
END;
CREATE TRIGGER email_tally_update AFTER UPDATE OF to_user_id, send_user_id, read, To_del, Send_del ON Email BEGIN
  UPDATE email_tally SET num = num - 1 WHERE user_id = OLD.to_user_id AND ((folder = 0 AND OLD.To_del = 0)
    OR (folder = 1 AND OLD.read = 1 AND OLD.To_del = 0) OR (folder = 2 AND OLD.To_del = 1));
  UPDATE email_tally SET num = num - 1 WHERE user_id = OLD.send_user_id AND folder = 3 AND OLD.Send_del = 0;
  INSERT OR IGNORE INTO email_tally(user_id, folder) SELECT NEW.to_user_id, 0 WHERE NEW.to_user_id IS NOT NULL
    UNION ALL SELECT NEW.to_user_id, 1 WHERE NEW.to_user_id IS NOT NULL
    UNION ALL SELECT NEW.to_user_id, 2 WHERE NEW.to_user_id IS NOT NULL
    UNION ALL SELECT NEW.send_user_id, 3 WHERE NEW.send_user_id IS NOT NULL;
  UPDATE email_tally SET num = num + 1 WHERE user_id = NEW.to_user_id AND ((folder = 0 AND NEW.To_del = 0)
    OR (folder = 1 AND NEW.read = 1 AND NEW.To_del = 0) OR (folder = 2 AND NEW.To_del = 1));
  UPDATE email_tally SET num = num + 1 WHERE user_id = NEW.send_user_id AND folder = 3 AND NEW.Send_del = 0;
END;

-- The unread mails of each account (read=0, To_del<>2), kept on every
-- change: the desktop's new-mail figure, polled by every open desktop,
-- without counting a long inbox. Equal to count(id) from Email where read=0
-- and to_del<>2 and to_user_id=... . The account column has no type, so a
-- mail addressed to no number is kept as it is rather than refused.
CREATE TABLE unread_tally (
  user_id NOT NULL PRIMARY KEY,
  num INTEGER NOT NULL DEFAULT 0
);
INSERT INTO unread_tally(user_id, num) SELECT to_user_id, count(*) FROM Email
  WHERE read = 0 AND To_del <> 2 AND to_user_id IS NOT NULL GROUP BY to_user_id;
CREATE TRIGGER unread_tally_insert AFTER INSERT ON Email
WHEN NEW.read = 0 AND NEW.To_del <> 2 AND NEW.to_user_id IS NOT NULL BEGIN
  INSERT OR IGNORE INTO unread_tally(user_id, num) VALUES (NEW.to_user_id, 0);
  UPDATE unread_tally SET num = num + 1 WHERE user_id = NEW.to_user_id;
END;
CREATE TRIGGER unread_tally_delete AFTER DELETE ON Email WHEN OLD.read = 0 AND OLD.To_del <> 2 BEGIN
  UPDATE unread_tally SET num = num - 1 WHERE user_id = OLD.to_user_id;
END;
CREATE TRIGGER unread_tally_update AFTER UPDATE OF to_user_id, read, To_del ON Email BEGIN
  UPDATE unread_tally SET num = num - 1 WHERE OLD.read = 0 AND OLD.To_del <> 2 AND user_id = OLD.to_user_id;
  INSERT OR IGNORE INTO unread_tally(user_id, num) SELECT NEW.to_user_id, 0
    WHERE NEW.read = 0 AND NEW.To_del <> 2 AND NEW.to_user_id IS NOT NULL;
  UPDATE unread_tally SET num = num + 1 WHERE NEW.read = 0 AND NEW.To_del <> 2 AND user_id = NEW.to_user_id;
END;

-- Collaboration: guest book, chat, address book, ledger.
CREATE INDEX book_reply_date ON Book(Reply_id, Book_date);
CREATE INDEX book_unread ON Book(reply_read, Reply_id);
-- The number of threads (messages that are no reply), kept on every
-- change: the guest book's page count without counting every thread.
CREATE TABLE book_tally (
  id INTEGER PRIMARY KEY CHECK (id = 1),
  num INTEGER NOT NULL DEFAULT 0
);
INSERT INTO book_tally(id, num) SELECT 1, count(*) FROM Book WHERE Reply_id = 0;
CREATE TRIGGER book_tally_insert AFTER INSERT ON Book WHEN NEW.Reply_id = 0 BEGIN
  UPDATE book_tally SET num = num + 1;
END;
CREATE TRIGGER book_tally_delete AFTER DELETE ON Book WHEN OLD.Reply_id = 0 BEGIN
  UPDATE book_tally SET num = num - 1;
END;
CREATE TRIGGER book_tally_move AFTER UPDATE OF Reply_id ON Book BEGIN
  UPDATE book_tally SET num = num - (OLD.Reply_id IS 0) + (NEW.Reply_id IS 0);
END;
-- The number of cards of each account, kept on every change: the card
-- list's page count without counting a long card case on every view.
CREATE TABLE address_tally (
  User_id INTEGER PRIMARY KEY,
  num INTEGER NOT NULL DEFAULT 0
);
INSERT INTO address_tally(User_id, num)
  SELECT User_id, count(*) FROM Address WHERE User_id IS NOT NULL GROUP BY User_id;
CREATE TRIGGER address_tally_insert AFTER INSERT ON Address WHEN NEW.User_id IS NOT NULL BEGIN
  INSERT OR IGNORE INTO address_tally(User_id, num) VALUES (NEW.User_id, 0);
  UPDATE address_tally SET num = num + 1 WHERE User_id = NEW.User_id;
END;
CREATE TRIGGER address_tally_delete AFTER DELETE ON Address WHEN OLD.User_id IS NOT NULL BEGIN
  UPDATE address_tally SET num = num - 1 WHERE User_id = OLD.User_id;
END;
CREATE TRIGGER address_tally_move AFTER UPDATE OF User_id ON Address BEGIN
  UPDATE address_tally SET num = num - 1 WHERE OLD.User_id IS NOT NULL AND User_id = OLD.User_id;
  INSERT OR IGNORE INTO address_tally(User_id, num) SELECT NEW.User_id, 0 WHERE NEW.User_id IS NOT NULL;
  UPDATE address_tally SET num = num + 1 WHERE NEW.User_id IS NOT NULL AND User_id = NEW.User_id;
END;
CREATE INDEX record_user_id_date ON Record(user_id, Rec_date);

-- File store.

-- Media library.
CREATE INDEX medium_file_type ON Medium(file_type);
CREATE INDEX medium_file_type_py ON Medium(file_type, PY);

-- Administration: accounts and the activity log.
-- The lists read user by id and by username, and one account's log by
-- user_id newest first: user_username and monitor_user_id above serve them
-- (an index entry carries the row id, so "where user_id=... order by id
-- DESC" walks the index backwards without a sort).
-- The desktop's figures of accounts online and of lost passwords: each
-- index holds only the accounts it counts.
CREATE INDEX user_online ON user(id) WHERE online<>0;
CREATE INDEX user_password_lose ON user(id) WHERE password_lose<>0;
-- The number of accounts, kept on every change: the account lists' page
-- count without counting every account on every view.
CREATE TABLE user_tally (
  id INTEGER PRIMARY KEY CHECK (id = 1),
  num INTEGER NOT NULL DEFAULT 0
);
INSERT INTO user_tally(id, num) SELECT 1, count(*) FROM user;
CREATE TRIGGER user_tally_insert AFTER INSERT ON user BEGIN
  UPDATE user_tally SET num = num + 1;
END;
CREATE TRIGGER user_tally_delete AFTER DELETE ON user BEGIN
  UPDATE user_tally SET num = num - 1;
END;
