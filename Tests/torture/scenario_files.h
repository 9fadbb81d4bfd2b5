#pragma once

#include "Tests/torture/stage.h"

/// The policies that scenarios are about: each call writes the files of a GPO and gives it for the lists.

inline constexpr const wchar_t* kGpoA = L"{00000000-0000-0000-0000-00000000000A}";
inline constexpr const wchar_t* kGpoB = L"{00000000-0000-0000-0000-00000000000B}";
inline constexpr const wchar_t* kGpoC = L"{00000000-0000-0000-0000-00000000000C}";

/// A password that must not show.
inline constexpr const wchar_t* kSecret = L"a longer secret than fits into a string object";

/// All files but a migration command.
CkxListedGpo WriteFullGpo(const Stage& stage, const wchar_t* gpo);

/// One policy.
CkxListedGpo WriteSmallGpo(const Stage& stage, const wchar_t* gpo);

/// One policy, and a file that is no XML.
CkxListedGpo WriteFaultyGpo(const Stage& stage, const wchar_t* gpo);

/// No file at all.
CkxListedGpo WriteEmptyGpo(const Stage& stage, const wchar_t* gpo);

/// Policies that RSoP records, with `groups` application groups.
CkxListedGpo WriteRecordedGpo(const Stage& stage, const wchar_t* gpo, int groups);

/// A policy with configuration values.
CkxListedGpo WriteConfigurationGpo(const Stage& stage, const wchar_t* gpo);

/// A migration command, in the second GPO.
void WriteMigration(const Stage& stage, bool again);

/// An agent that listens, beside another sender.
void SetUpListening(Stage& stage);
