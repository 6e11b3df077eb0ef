#include "HelpText.h"

SPW_CString helpText() {
    return u"s  start a test\n"
           u"t  stop it; space does one or the other\n"
           u"r  set all counts to zero\n"
           u"l  write a report line per peer to the log\n"
           u"a  add a peer by its address\n"
           u"i  show this device's configuration\n"
           u"q  quit; so does Ctrl-C\n"
           u"\n"
           u"up, down, k, j, PgUp, PgDn, Home, End  choose a row\n"
           u"Enter  all about the chosen row\n"
           u"left, right  columns that find no room\n"
           u"o  sort by the next column, at last by none\n"
           u"Ctrl-L  draw the screen afresh\n"
           u"Ctrl-Z  suspend the program, and its probes\n"
           u"\n"
           u"The mouse presses buttons, opens rows and scrolls.\n"
           u"!  less than everything arrives\n"
           u"?  not all kinds of probe could be sent\n"
           u"X  nothing arrives\n";
}
