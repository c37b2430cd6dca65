// The conferencing control as the meeting pages write it. Browsers without
// the control get a stand-in from the client compatibility script that says
// why no call can be placed.
#pragma once

namespace tav::pages {

inline constexpr const char* kNetMeetingObject =
    "<object id=\"NetMeeting\" classid=\"CLSID:3E9BAF2D-7A79-11d2-9334-0000F875AE17\" VIEWASTEXT>\r\n"
    "<param name=\"MODE\" value=\"DataOnly\">\r\n"
    "</object>";

}  // namespace tav::pages
