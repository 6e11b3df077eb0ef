// Windows CE 3.0's sockets: exactly what the sources below w32/ folders use of winsock.dll.
#pragma once

#include <windows.h>

#define AF_INET 2
#define SOCK_STREAM 1
#define SOCK_DGRAM 2
#define SOCKET_ERROR (-1)
#define INVALID_SOCKET (~static_cast<SOCKET>(0))
#define SOL_SOCKET 0xFFFF
#define SO_REUSEADDR 0x0004
#define SO_ERROR 0x1007
#define IPPROTO_IP 0
#define IP_MULTICAST_TTL 3
#define IP_ADD_MEMBERSHIP 5
#define IP_DROP_MEMBERSHIP 6
#define FIONBIO 0x8004667E
#define WSAEWOULDBLOCK 10035
#define WSAENOTSOCK 10038
#define WSAEMSGSIZE 10040
#define FD_SETSIZE 64

typedef UINT_PTR SOCKET;
typedef unsigned short u_short;
typedef unsigned long u_long;

typedef struct {
    unsigned int fd_count;
    SOCKET fd_array[FD_SETSIZE];
} fd_set;

struct timeval {
    long tv_sec;
    long tv_usec;
};

struct in_addr {
    u_long s_addr;
};

struct sockaddr {
    u_short sa_family;
    char sa_data[14];
};

struct sockaddr_in {
    short sin_family;
    u_short sin_port;
    struct in_addr sin_addr;
    char sin_zero[8];
};

struct ip_mreq {
    struct in_addr imr_multiaddr;
    struct in_addr imr_interface;
};

struct hostent {
    char* h_name;
    char** h_aliases;
    short h_addrtype;
    short h_length;
    char** h_addr_list;
};

typedef struct {
    WORD wVersion;
    WORD wHighVersion;
    char szDescription[257];
    char szSystemStatus[129];
    unsigned short iMaxSockets;
    unsigned short iMaxUdpDg;
    char* lpVendorInfo;
} WSADATA;

extern "C" {

int WSAStartup(WORD version, WSADATA* data);
int WSACleanup();
int WSAGetLastError();
void WSASetLastError(int code);

SOCKET socket(int family, int type, int protocol);
SOCKET accept(SOCKET socket, struct sockaddr* address, int* size);
int bind(SOCKET socket, const struct sockaddr* address, int size);
int closesocket(SOCKET socket);
int connect(SOCKET socket, const struct sockaddr* address, int size);
int getsockname(SOCKET socket, struct sockaddr* address, int* size);
int getsockopt(SOCKET socket, int level, int option, char* value, int* size);
int ioctlsocket(SOCKET socket, long command, u_long* argument);
int listen(SOCKET socket, int backlog);
int recv(SOCKET socket, char* buffer, int size, int flags);
int recvfrom(SOCKET socket, char* buffer, int size, int flags, struct sockaddr* address, int* addressSize);
int select(int unused, fd_set* read, fd_set* write, fd_set* except, const struct timeval* limit);
int send(SOCKET socket, const char* bytes, int size, int flags);
int sendto(SOCKET socket, const char* bytes, int size, int flags, const struct sockaddr* address, int addressSize);
int setsockopt(SOCKET socket, int level, int option, const char* value, int size);

struct hostent* gethostbyname(const char* name);
int gethostname(char* name, int size);
u_short htons(u_short number);
u_short ntohs(u_short number);

int __WSAFDIsSet(SOCKET socket, fd_set* set);

}  // extern "C"

#define FD_ZERO(set) (static_cast<void>((set)->fd_count = 0))
#define FD_ISSET(socket, set) __WSAFDIsSet(socket, set)
