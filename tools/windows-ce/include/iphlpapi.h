// Windows CE 3.0's IP Helper and echo service: the records alone; the functions are looked up at run time.
#pragma once

#include <time.h>
#include <windows.h>

#define IP_SUCCESS 0

typedef ULONG IPAddr;

typedef struct {
    BYTE Ttl;
    BYTE Tos;
    BYTE Flags;
    BYTE OptionsSize;
    BYTE* OptionsData;
} IP_OPTION_INFORMATION;

typedef struct {
    IPAddr Address;
    ULONG Status;
    ULONG RoundTripTime;
    WORD DataSize;
    WORD Reserved;
    void* Data;
    IP_OPTION_INFORMATION Options;
} ICMP_ECHO_REPLY;

typedef struct {
    char String[16];
} IP_ADDRESS_STRING;

typedef struct IP_ADDR_STRING {
    struct IP_ADDR_STRING* Next;
    IP_ADDRESS_STRING IpAddress;
    IP_ADDRESS_STRING IpMask;
    DWORD Context;
} IP_ADDR_STRING;

typedef struct IP_ADAPTER_INFO {
    struct IP_ADAPTER_INFO* Next;
    DWORD ComboIndex;
    char AdapterName[256 + 4];
    char Description[128 + 4];
    UINT AddressLength;
    BYTE Address[8];
    DWORD Index;
    UINT Type;
    UINT DhcpEnabled;
    IP_ADDR_STRING* CurrentIpAddress;
    IP_ADDR_STRING IpAddressList;
    IP_ADDR_STRING GatewayList;
    IP_ADDR_STRING DhcpServer;
    BOOL HaveWins;
    IP_ADDR_STRING PrimaryWinsServer;
    IP_ADDR_STRING SecondaryWinsServer;
    time_t LeaseObtained;
    time_t LeaseExpires;
} IP_ADAPTER_INFO;

typedef struct {
    char HostName[128 + 4];
    char DomainName[128 + 4];
    IP_ADDR_STRING* CurrentDnsServer;
    IP_ADDR_STRING DnsServerList;
    UINT NodeType;
    char ScopeId[256 + 4];
    UINT EnableRouting;
    UINT EnableProxy;
    UINT EnableDns;
} FIXED_INFO;
