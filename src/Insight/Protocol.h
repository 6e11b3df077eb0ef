#pragma once

// Protocol numbers of row updates.
enum Protocol : int { kMulticast = 0, kUdp = 1, kTcpip = 2, kPing = 3, kProtocols = 4 };
