// SPDX-License-Identifier: MIT
// Nothing: its target carries the precompiled headers of the test programs.
