#pragma once

// Each function adds its benchmarks to those that the program runs.

namespace logging2::core::bench {

void register_write();
void register_rollback();
void register_flush();
void register_transpose();
void register_read();
void register_look_up();
void register_checked(); // call it after register_look_up(), which registers the built-in back-ends
void register_compress();

} // namespace logging2::core::bench
