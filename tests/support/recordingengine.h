// SPDX-License-Identifier: MIT
#ifndef TESTS_RECORDINGENGINE_H
#define TESTS_RECORDINGENGINE_H

#include <testing/recordingengine.h>

using Tessel::Testing::RecordingEngine;

#endif
