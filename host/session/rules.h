// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The rules of the interface that this host watches, and how it words a broken one.
#pragma once

#include <string>

namespace veltra::host {

/// What an effect can do wrong. The first group spoils pictures or hosts; the second, from
/// kSuiteKept on, are accounts that do not balance, which ordinary effects leave and hosts bear.
enum class Rule {
  kExceptionEscaped,         ///< an exception left the command entry
  kExceptionInDelete,        ///< an exception left the delete function of pre-render data
  kWroteOutsideOutput,       ///< bytes around the output's pixels have changed
  kResultBeyondMaximum,      ///< the result rectangle exceeds the maximum one
  kResultBeyondRequest,      ///< the result rectangle exceeds the request, undeclared
  kAbortIgnored,             ///< success after an abort
  kUnknownParameter,         ///< checkout of a parameter index that does not exist
  kParameterAddedLate,       ///< add_param outside of PARAMS_SETUP
  kLayerOutsidePreRender,    ///< checkout_layer outside of pre-render
  kLayerOfUnknownParameter,  ///< checkout_layer of an index that does not exist
  kLayerOfOtherType,         ///< checkout_layer of a parameter that is no layer
  kLayerFetchedTwice,        ///< pixels fetched twice under one id
  kLayerNotRequested,        ///< pixels fetched that pre-render had not requested
  kLayerNotTaken,            ///< pixels returned that were not taken
  kOutputBeforeInput,        ///< the output checked out before any input
  kForeignHandle,            ///< a handle or world given back that is none of this host's
  kLiveSequenceAnswered,     ///< the live sequence data given where a flat copy was asked for

  kUpdateFailed,  ///< an error in UPDATE_PARAMS_UI, which changes no picture

  kSuiteKept,          ///< acquired more often than released
  kSuiteOverReleased,  ///< released more often than acquired
  kParametersUneven,   ///< parameters taken and returned
  kWorldsUneven,       ///< worlds made and disposed of
  kBlocksUneven,       ///< memory blocks of the basic suite
  kDataWithoutDelete,  ///< pre-render data that the host cannot tell how to free
};

/// Whether the rule is about what was taken and not given back, or the reverse.
bool IsAboutAccounts(Rule rule);

/// What was broken, in one lower-case line.
std::string RuleText(Rule rule);

/// A broken rule, with the particulars in its text where there are any.
struct Violation {
  Rule rule;
  std::string text;
};

}  // namespace veltra::host
