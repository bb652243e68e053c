// One message to another process and back, with bare libuv.
#ifndef KXEPINFO_BENCH_FLOOR_EXCHANGE_H
#define KXEPINFO_BENCH_FLOOR_EXCHANGE_H

#include <uv.h>

#include <string>

// Makes the other process, which sends back what it gets and ends with this one, and opens the pipe
// to it in the loop. Ends the program when that fails. Call it before the loop runs.
void StartExchange(uv_loop_t& loop);

// Sends the message, and returns; the loop reads what comes back.
void Send(const std::string& message);

// How many bytes have come back so far.
std::size_t Returned();

#endif  // KXEPINFO_BENCH_FLOOR_EXCHANGE_H
