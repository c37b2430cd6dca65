-- First contents of a new site's database: settings, departments, document
-- kinds, the first account and the navigation rows.

INSERT INTO software(softname, Hardserial) VALUES ('username', '示范单位');
INSERT INTO software(softname, Hardserial) VALUES ('forgetpass', '1');
INSERT INTO software(softname, Hardserial) VALUES ('regnewuser', '1');
INSERT INTO software(softname, Hardserial) VALUES ('indroduce', '1');
INSERT INTO software(softname, Hardserial) VALUES ('pop_note', '0');
INSERT INTO software(softname, Hardserial) VALUES ('work_pop', '1');
INSERT INTO software(softname, Hardserial) VALUES ('work_time', '60');
INSERT INTO software(softname, Hardserial) VALUES ('pop_music', '0');
INSERT INTO software(softname, Hardserial) VALUES ('music', '');
INSERT INTO software(softname, Hardserial) VALUES ('stat_time', '30');
INSERT INTO software(softname, Hardserial) VALUES ('logout', '0');

INSERT INTO DepartMent(name, Remark) VALUES ('办公室', ' ');
INSERT INTO DepartMent(name, Remark) VALUES ('财务审计科', ' ');
INSERT INTO DepartMent(name, Remark) VALUES ('行政事业审计科', ' ');
INSERT INTO DepartMent(name, Remark) VALUES ('经济责任审计科', ' ');
INSERT INTO DepartMent(name, Remark) VALUES ('信息中心', ' ');

INSERT INTO word_type(name, Remark) VALUES ('通知', ' ');
INSERT INTO word_type(name, Remark) VALUES ('请示', ' ');
INSERT INTO word_type(name, Remark) VALUES ('报告', ' ');
INSERT INTO word_type(name, Remark) VALUES ('函', ' ');

-- menu_idstr is set below, once the menu rows exist: every code of them.
INSERT INTO user(username, password, TrueName, DepartMentID, IDCard, sex, Telphone, Mobile, Email,
                 Duty, Address, SpeTech, Zip, UserRemark, menu_idstr, record, plays, start_meeting)
VALUES ('admin', 'admin', '系统管理员', 1, '', '男', '', '', '', '管理员', '', '', '', ' ', '', 30, 1, 0);
