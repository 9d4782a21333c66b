// SPDX-License-Identifier: MIT
#pragma once

// Places the sensor with index `id` of `temp_desc` in an interval and runs, in order, the
// actions of every interval boundary that it crosses.
//
// `alarm_id` decides where the descriptor maps it to an interval; otherwise `temp` (degrees
// Celsius) does, against the thresholds of the present supply. A caller with a temperature
// passes alarm 0, one with an alarm passes temperature 0. Nothing happens while the supply
// cannot be read, or for an alarm that no amplifier has (logged once for each).
//
// Actions must not call it again.
void temp_action(int id, int alarm_id, int temp);
