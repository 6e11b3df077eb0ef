// Numbers of the dialogs, their controls and the icon. Read by the resource compiler too: nothing but #define here.
#define IDD_MAIN 102
#define IDC_START 1000
#define IDC_RESET 1002
#define IDC_LOG 1003
#define IDC_STOP 1004
#define IDC_PEERS 1042
#define IDC_ADD_IP 1047
#define IDC_INFO 1048

#define IDI_PROGRAM 129

#define IDD_LOCAL_INFO 130
#define IDC_LOCAL_INFO 1049

#define IDD_ADD_PEER 131
#define IDC_OCTET_1 1044
#define IDC_PEER_NAME 1046
#define IDC_OCTET_2 1047
#define IDC_OCTET_3 1048
#define IDC_OCTET_4 1049
