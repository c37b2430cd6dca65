/*
 * tavdialog.js: the parts listed in compat/order.txt, joined by `tavelor init`.
 *
 * Lets the pages' Internet Explorer client code run in current browsers: showModalDialog as a
 * <dialog> in the top window, dialogArguments, returnValue and close() inside it, and named
 * form fields reachable by bare name; document.all that tests true; player objects become
 * <audio>/<video> with their playlists; uploads with a file show progress; a stand-in for the
 * NetMeeting control says plainly that no call can be placed.
 * ASCII only: pages load it without a charset, so a GBK page would misread anything else.
 */
(function tavcompatFactory(root, hostOnly) {
'use strict';
