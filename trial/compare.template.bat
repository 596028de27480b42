@echo off
rem Copyright 2026 The Veltra Authors
rem SPDX-License-Identifier: BSD-3-Clause
rem Renders the trial's scenes with veltra.exe, compares them with what After Effects rendered, and
rem writes report.html. "compare.bat quiet" neither waits for a key nor opens the report.
rem Ends with 0 when every setting passes and with 1 otherwise.
setlocal
set "QUIET=%~1"
cd /d "%~dp0"
if not exist scenes\ goto nowhere
set "VELTRA=%~dp0..\veltra.exe"
if not exist "%VELTRA%" set "VELTRA=veltra.exe"
if not exist after-effects\ goto nothing
if exist report rmdir /s /q report
if exist headless rmdir /s /q headless
mkdir report
mkdir headless
"%VELTRA%" --version >report\program.txt 2>&1
if not %ERRORLEVEL%==0 goto missing
"%VELTRA%" about >>report\program.txt 2>&1
set PASSED=0
@CALLS@
@PAGE@
echo %PASSED% of @COUNT@ settings pass: report.html
if not "%QUIET%"=="quiet" start "" report.html
if %PASSED%==@COUNT@ exit /b 0
exit /b 1

:nowhere
echo This folder cannot be worked in: unpack the zip onto a drive that has a letter.
if not "%QUIET%"=="quiet" pause
exit /b 1

:nothing
echo There is no folder after-effects here: run veltra-trial.jsx in After Effects first.
if not "%QUIET%"=="quiet" pause
exit /b 1

:missing
echo veltra.exe does not start: unpack the whole zip, the kit's folder trial lies beside it.
if not "%QUIET%"=="quiet" pause
exit /b 1

rem compare NAME ENDING TOLERANCE
:compare
echo %1
set "VERDICT_%1=FAIL"
"%VELTRA%" @RENDER@ >report\%1.txt 2>&1
if not %ERRORLEVEL%==0 goto :eof
"%VELTRA%" @COMPARE@ >>report\%1.txt 2>&1
if not %ERRORLEVEL%==0 goto :eof
set "VERDICT_%1=pass"
set /a PASSED+=1
goto :eof
