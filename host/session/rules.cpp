// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Wording of broken rules.

#include "host/session/rules.h"

namespace veltra::host {

bool IsAboutAccounts(Rule rule) {
  return rule >= Rule::kSuiteKept;
}

std::string RuleText(Rule rule) {
  switch (rule) {
    case Rule::kExceptionEscaped:
      return "an exception escaped from the effect";
    case Rule::kExceptionInDelete:
      return "an exception escaped from the effect's delete function";
    case Rule::kWroteOutsideOutput:
      return "the effect wrote outside of the output's pixels";
    case Rule::kResultBeyondMaximum:
      return "the result rectangle exceeds the maximum result rectangle";
    case Rule::kResultBeyondRequest:
      return "the result rectangle exceeds the requested one";
    case Rule::kAbortIgnored:
      return "the effect answered success although the user had aborted";
    case Rule::kUnknownParameter:
      return "a parameter was checked out that does not exist";
    case Rule::kParameterAddedLate:
      return "a parameter was added outside of PARAMS_SETUP";
    case Rule::kLayerOutsidePreRender:
      return "a layer was requested outside of pre-render";
    case Rule::kLayerOfUnknownParameter:
      return "a layer was requested of a parameter that does not exist";
    case Rule::kLayerOfOtherType:
      return "a layer was requested of a parameter that is none";
    case Rule::kLayerFetchedTwice:
      return "layer pixels were fetched twice under one id";
    case Rule::kLayerNotRequested:
      return "layer pixels were fetched that pre-render had not requested";
    case Rule::kLayerNotTaken:
      return "layer pixels were returned that were not taken";
    case Rule::kOutputBeforeInput:
      return "the output was checked out before any input";
    case Rule::kForeignHandle:
      return "a handle or a world was given back that is not of this host";
    case Rule::kDataWithoutDelete:
      return "pre-render data has no delete function and is no handle, so it stays allocated";
    case Rule::kLiveSequenceAnswered:
      return "GET_FLATTENED_SEQUENCE_DATA was answered with the live data instead of a copy";
    case Rule::kUpdateFailed:
      return "the effect failed in UPDATE_PARAMS_UI";
    case Rule::kSuiteKept:
      return "a suite was not released";
    case Rule::kSuiteOverReleased:
      return "a suite was released without being acquired";
    case Rule::kParametersUneven:
      return "parameters were not returned as often as taken";
    case Rule::kWorldsUneven:
      return "worlds were not disposed of as often as made";
    case Rule::kBlocksUneven:
      return "memory blocks were not freed as often as allocated";
  }
  return "an unknown rule was broken";
}

}  // namespace veltra::host
