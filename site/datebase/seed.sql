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
INSERT INTO software(softname, Hardserial) VALUES ('quota_store', '200');
INSERT INTO software(softname, Hardserial) VALUES ('quota_mail', '100');

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

-- Navigation: per section, folder heads (xm with _m) and the rows that spell
-- each folder's hidden field. Backquotes stand for single quotes and ” for the
-- double quote; left.asp turns them back. Stems ending in 0 are avoided, since
-- an id holding 00 is shown to everybody.

-- 电子邮件
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('menu11', 'menu11', '电子邮件', 'wlzx_m');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1100', '<INPUT type=`hidden` name=`menu11` value=”', ' ', 'wlzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1101', '`images/arrow1.gif`,` 收件箱`,`Email_list.asp?type=0`, `detail`,', '收件箱', 'wlzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1102', '`images/arrow1.gif`,` 已阅读邮件`,`Email_list.asp?type=1`, `detail`,', '已阅读邮件', 'wlzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1103', '`images/arrow1.gif`,` 已删除邮件`,`Email_list.asp?type=2`, `detail`,', '已删除邮件', 'wlzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1104', '`images/arrow1.gif`,` 已发送邮件`,`Email_list.asp?type=3`, `detail`,', '已发送邮件', 'wlzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1105', '`images/arrow1.gif`,` 写新邮件`,`Email_send.asp`, `detail`,', '写新邮件', 'wlzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('11ZZ', '”>', ' ', 'wlzx');

-- 交流园地
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('menu12', 'menu12', '交流园地', 'wlzx_m');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1200', '<INPUT type=`hidden` name=`menu12` value=”', ' ', 'wlzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1201', '`images/arrow1.gif`,` 留言板`,`Book_list.asp`, `detail`,', '留言板', 'wlzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1202', '`images/arrow1.gif`,` 我的留言`,`Book_list1.asp`, `detail`,', '我的留言', 'wlzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1203', '`images/arrow1.gif`,` 聊天室`,`Chat_Main.asp`, `detail`,', '聊天室', 'wlzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1204', '`images/arrow1.gif`,` 留言板管理`,`Book_list.asp?GL=1`, `detail`,', '留言板管理', 'wlzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('12ZZ', '”>', ' ', 'wlzx');

-- 多媒体
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('menu13', 'menu13', '多媒体', 'wlzx_m');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1300', '<INPUT type=`hidden` name=`menu13` value=”', ' ', 'wlzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1301', '`images/arrow1.gif`,` 媒体欣赏`,`Medium_list.asp`, `detail`,', '媒体欣赏', 'wlzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1311', '`images/arrow1.gif`,` 媒体维护`,`Sys_Medium.asp`, `detail`,', '媒体维护', 'wlzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('13ZZ', '”>', ' ', 'wlzx');

-- 在线交流
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('menu14', 'menu14', '在线交流', 'wlzx_m');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1400', '<INPUT type=`hidden` name=`menu14` value=”', ' ', 'wlzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1401', '`images/arrow1.gif`,` 在线用户`,`Online_user.asp`, `detail`,', '在线用户', 'wlzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1408', '`images/arrow1.gif`,` 网络会议`,`Web_Meeting.asp`, `detail`,', '网络会议', 'wlzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('14ZZ', '”>', ' ', 'wlzx');

-- 个人助理
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('menu15', 'menu15', '个人助理', 'bgzx_m');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1500', '<INPUT type=`hidden` name=`menu15` value=”', ' ', 'bgzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1501', '`images/arrow1.gif`,` 个人通讯录`,`Address_List.asp`, `detail`,', '个人通讯录', 'bgzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1502', '`images/arrow1.gif`,` 员工通讯录`,`User_address.asp`, `detail`,', '员工通讯录', 'bgzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1503', '`images/arrow1.gif`,` 个人记事本`,`Record_List.asp`, `detail`,', '个人记事本', 'bgzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1504', '`images/arrow1.gif`,` 个人文件柜`,`Folder_list.asp`, `detail`,', '个人文件柜', 'bgzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('15ZZ', '”>', ' ', 'bgzx');

-- 个人设置
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('menu16', 'menu16', '个人设置', 'bgzx_m');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1600', '<INPUT type=`hidden` name=`menu16` value=”', ' ', 'bgzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1601', '`images/arrow1.gif`,` 个人资料`,`User_Info_Modify.asp`, `detail`,', '个人资料', 'bgzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1602', '`images/arrow1.gif`,` 修改密码`,`User_password_Modify.asp`, `detail`,', '修改密码', 'bgzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1603', '`images/arrow1.gif`,` 个人签名`,`user_signe.asp`, `detail`,', '个人签名', 'bgzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('16ZZ', '”>', ' ', 'bgzx');

-- 系统管理
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('menu19', 'menu19', '系统管理', 'bgzx_m');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1900', '<INPUT type=`hidden` name=`menu19` value=”', ' ', 'bgzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1901', '`images/arrow1.gif`,` 系统参数`,`Sys_Modify.asp`, `detail`,', '系统参数', 'bgzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1902', '`images/arrow1.gif`,` 权限管理`,`Sys_User_Menu.asp`, `detail`,', '权限管理', 'bgzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1903', '`images/arrow1.gif`,` 活动日志`,`Sys_User_Active.asp`, `detail`,', '活动日志', 'bgzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1904', '`images/arrow1.gif`,` 用户管理`,`Sys_User.asp`, `detail`,', '用户管理', 'bgzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1905', '`images/arrow1.gif`,` 密码遗失`,`sys_losepassword.asp`, `detail`,', '密码遗失', 'bgzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1906', '`images/arrow1.gif`,` 部门维护`,`type_modify.asp?Dtable=DepartMent`, `detail`,', '部门维护', 'bgzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1907', '`images/arrow1.gif`,` 公文类别`,`type_modify.asp?Dtable=word_type`, `detail`,', '公文类别', 'bgzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('1908', '`images/arrow1.gif`,` 数据中心类别`,`Menu.asp`, `detail`,', '数据中心类别', 'bgzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('19ZZ', '”>', ' ', 'bgzx');

-- 公文处理
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('menu23', 'menu23', '公文处理', 'bgzx_m');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('2300', '<INPUT type=`hidden` name=`menu23` value=”', ' ', 'bgzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('2301', '`images/arrow1.gif`,` 收文签阅`,`File_list.asp`, `detail`,', '收文签阅', 'bgzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('2302', '`images/arrow1.gif`,` 业务审核`,`word_list_sh.asp?sh=ywsh`, `detail`,', '业务审核', 'bgzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('2303', '`images/arrow1.gif`,` 核稿`,`word_list_sh.asp?sh=hh`, `detail`,', '核稿', 'bgzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('2304', '`images/arrow1.gif`,` 复核`,`word_list_sh.asp?sh=fh`, `detail`,', '复核', 'bgzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('2305', '`images/arrow1.gif`,` 领导审核`,`word_list_sh.asp?sh=ldsh`, `detail`,', '领导审核', 'bgzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('2306', '`images/arrow1.gif`,` 领导签发`,`word_list_sh.asp?sh=ldqf`, `detail`,', '领导签发', 'bgzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('23ZZ', '”>', ' ', 'bgzx');

-- 工作动态
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('menu31', 'menu31', '工作动态', 'sjzx_m');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('3100', '<INPUT type=`hidden` name=`menu31` value=”', ' ', 'sjzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('3101', '`images/arrow1.gif`,` 录入数据`,`Data_Input.asp?m=menu31`, `detail`,', '录入数据', 'sjzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('3102', '`images/arrow1.gif`,` 工作简报`,`Data_list.asp?sub_menu=3102`, `detail`,', '工作简报', 'sjzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('3103', '`images/arrow1.gif`,` 审计动态`,`Data_list.asp?sub_menu=3103`, `detail`,', '审计动态', 'sjzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('3110', '`images/arrow1.gif`,` 审计要闻`,`Data_list.asp?sub_menu=3110`, `detail`,', '审计要闻', 'sjzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('31A8', '`images/arrow1.gif`,` 修改删除`,`Data_ModifyDel.asp`, `detail`,', '修改删除', 'sjzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('31A9', '`images/arrow1.gif`,` 类别维护`,`Data_type.asp?m_id=31&xm=sjzx`, `detail`,', '类别维护', 'sjzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('31ZZ', '”>', ' ', 'sjzx');

-- 法规制度
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('menu32', 'menu32', '法规制度', 'sjzx_m');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('3200', '<INPUT type=`hidden` name=`menu32` value=”', ' ', 'sjzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('3201', '`images/arrow1.gif`,` 录入数据`,`Data_Input.asp?m=menu32`, `detail`,', '录入数据', 'sjzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('3202', '`images/arrow1.gif`,` 法律法规`,`Data_list.asp?sub_menu=3202`, `detail`,', '法律法规', 'sjzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('3203', '`images/arrow1.gif`,` 规章制度`,`Data_list.asp?sub_menu=3203`, `detail`,', '规章制度', 'sjzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('32A8', '`images/arrow1.gif`,` 修改删除`,`Data_ModifyDel.asp`, `detail`,', '修改删除', 'sjzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('32A9', '`images/arrow1.gif`,` 类别维护`,`Data_type.asp?m_id=32&xm=sjzx`, `detail`,', '类别维护', 'sjzx');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('32ZZ', '”>', ' ', 'sjzx');

-- 信息公告
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('menu41', 'menu41', '信息公告', 'home_m');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('4100', '<INPUT type=`hidden` name=`menu41` value=”', ' ', 'home');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('4101', '`images/arrow1.gif`,` 录入数据`,`Data_Input.asp?m=menu41`, `detail`,', '录入数据', 'home');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('4102', '`images/arrow1.gif`,` 通知公告`,`Data_list.asp?sub_menu=4102`, `detail`,', '通知公告', 'home');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('4103', '`images/arrow1.gif`,` 单位新闻`,`Data_list.asp?sub_menu=4103`, `detail`,', '单位新闻', 'home');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('41A8', '`images/arrow1.gif`,` 修改删除`,`Data_ModifyDel.asp`, `detail`,', '修改删除', 'home');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('41A9', '`images/arrow1.gif`,` 类别维护`,`Data_type.asp?m_id=41&xm=home`, `detail`,', '类别维护', 'home');
INSERT INTO menu(menu_id, menu_text, user_text, xm) VALUES ('41ZZ', '”>', ' ', 'home');

-- The first account holds every code.
UPDATE user SET menu_idstr='1101 1102 1103 1104 1105 1201 1202 1203 1204 1301 1311 1401 1408 1501 1502 1503 1504 1601 1602 1603 1901 1902 1903 1904 1905 1906 1907 1908 2301 2302 2303 2304 2305 2306 3101 3102 i3102 3103 i3103 3110 i3110 31A8 31A9 3201 3202 i3202 3203 i3203 32A8 32A9 4101 4102 i4102 4103 i4103 41A8 41A9 w1 y1 h1 w2 y2 h2 w3 y3 h3 w4 y4 h4 Plays del model' WHERE username='admin';
