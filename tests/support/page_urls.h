// Every URL of the site with the class that serves it, as callers write
// them (case variants included; they reach one class).
#pragma once

#include <vector>

namespace tav::test {

struct ExpectedPage {
    const char* url;
    const char* cls;
};

inline const std::vector<ExpectedPage>& expected_pages() {
    static const std::vector<ExpectedPage> pages = {
        {"default.asp", "default"}, {"login.asp", "login"}, {"loginverify.asp", "loginverify"},
        {"logout.asp", "logout"}, {"logout_close.asp", "logoutclose"}, {"losepassword.asp", "losepassword"},
        {"LosePassword.asp", "losepassword"}, {"sys_losepassword.asp", "syslosepassword"},
        {"sys_losepasswordDO.asp", "syslosepassworddo"}, {"top.asp", "top"}, {"bottom.asp", "bottom"},
        {"left.asp", "left"}, {"started.asp", "started"}, {"starting.asp", "starting"}, {"message.asp", "message"},
        {"sysmonitor.asp", "sysmonitor"}, {"message_pop.asp", "messagepop"}, {"pop_note.asp", "popnote"},
        {"sys_user_load.asp", "sysuserload"}, {"Pop_OK.asp", "popok"}, {"Pop_Del.asp", "popdel"},
        {"Del_Record.asp", "delrecord"}, {"close.asp", "close"}, {"closepop.asp", "closepop"},
        {"upload_img.asp", "uploadimg"}, {"Menu.asp", "menu"}, {"menu.asp", "menu"}, {"Data_type.asp", "datatype"},
        {"type_modify.asp", "typemodify"}, {"data_home.asp", "datahome"}, {"Data_list.asp", "datalist"},
        {"Data_List.asp", "datalist"}, {"Data_read.asp", "dataread"}, {"Lock.asp", "lock"}, {"lock.asp", "lock"},
        {"Data_Input.asp", "datainput"}, {"Data_InputDo.asp", "datainputdo"}, {"Data_Del.asp", "datadel"},
        {"Data_ModifyDel.asp", "datamodifydel"}, {"Email_list.asp", "emaillist"}, {"Email_Del.asp", "emaildel"},
        {"Email_send.asp", "emailsend"}, {"Email_sendDo.asp", "emailsenddo"}, {"Select_user.asp", "selectuser"},
        {"Email_read.asp", "emailread"}, {"Email_Reply.asp", "emailreply"}, {"Book_list.asp", "booklist"},
        {"book_list1.asp", "booklist1"}, {"Book_list1.asp", "booklist1"}, {"Book_read.asp", "bookread"},
        {"Book_Write.asp", "bookwrite"}, {"Book_Save.asp", "booksave"}, {"Chat_Main.asp", "chatmain"},
        {"Chat_Input.asp", "chatinput"}, {"Chat_input.asp", "chatinput"}, {"Chat_Save.asp", "chatsave"},
        {"Chat_Show.asp", "chatshow"}, {"Address_List.asp", "addresslist"}, {"Address_list.asp", "addresslist"},
        {"Address_Edit.asp", "addressedit"}, {"Address_edit.asp", "addressedit"},
        {"Address_EditDo.asp", "addresseditdo"}, {"Address_delete.asp", "addressdelete"},
        {"Address_Del_True.asp", "addressdeltrue"}, {"User_address.asp", "useraddress"},
        {"Record_List.asp", "recordlist"}, {"Record_list.asp", "recordlist"}, {"Record_Write.asp", "recordwrite"},
        {"Record_write.asp", "recordwrite"}, {"Record_Save.asp", "recordsave"}, {"Web_Meeting.asp", "webmeeting"},
        {"start_netmeeting.asp", "startnetmeeting"}, {"Online_user.asp", "onlineuser"}, {"folder.asp", "Folder"},
        {"Folder_list.asp", "folderlist"}, {"Folder_create.asp", "foldercreate"},
        {"folder_create.asp", "foldercreate"}, {"Folder_delete.asp", "folderdelete"},
        {"folder_delete.asp", "folderdelete"}, {"Folder_rename.asp", "folderrename"},
        {"folder_rename.asp", "folderrename"}, {"file.asp", "File"}, {"file_rename.asp", "filerename"},
        {"file_rename_save.asp", "filerenamesave"}, {"file_upload.asp", "fileupload"},
        {"Medium_list.asp", "mediumlist"}, {"Medium_List.asp", "mediumlist"}, {"Medium_Info.asp", "mediuminfo"},
        {"Medium_play_Audio.asp", "mediumplayaudio"}, {"Medium_play_Video.asp", "mediumplayvideo"},
        {"Sys_Medium.asp", "sysmedium"}, {"Sys_Medium_Modify.asp", "sysmediummodify"},
        {"Sys_Medium_Modify_Save.asp", "sysmediummodifysa"}, {"Sys_User.asp", "sysuser"},
        {"NewRegister.asp", "newregister"}, {"NewRegisterDo.asp", "newregisterdo"},
        {"User_Info_Modify.asp", "userinfomodify"}, {"User_Info_Modify1.asp", "userinfomodify1"},
        {"User_password_Modify.asp", "userpasswordmodif"}, {"user_signe.asp", "usersigne"},
        {"user_signe_upload.asp", "usersigneupload"}, {"Sys_User_Menu.asp", "sysusermenu"},
        {"Sys_User_Menu_Modify.asp", "sysusermenumodify"}, {"Sys_User_Menu_modify.asp", "sysusermenumodify"},
        {"Sys_User_menu_ModifyDO.asp", "sysusermenumodify2"}, {"Sys_User_Active.asp", "sysuseractive"},
        {"Sys_User_Active_List.asp", "sysuseractivelist"}, {"sys_user_active_list.asp", "sysuseractivelist"},
        {"Sys_Modify.asp", "sysmodify"},
    };
    return pages;
}

}  // namespace tav::test
