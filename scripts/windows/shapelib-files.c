/* Opens files of shapelib by the C library, as the part does that the copy in GDAL's source lacks. */
#include <stdio.h>
#include <stdlib.h>

#include "shapefil.h"

static SAFile OpenFile(const char* name, const char* mode) { return (SAFile)fopen(name, mode); }

static SAOffset ReadFile(void* data, SAOffset size, SAOffset count, SAFile file) {
  return (SAOffset)fread(data, size, count, (FILE*)file);
}

/* That copy leaves out seeks to where a file is already; C wants one between reading and writing. */
static SAOffset WriteFile(void* data, SAOffset size, SAOffset count, SAFile file) {
  fseek((FILE*)file, 0, SEEK_CUR);
  return (SAOffset)fwrite(data, size, count, (FILE*)file);
}

static SAOffset SeekFile(SAFile file, SAOffset offset, int from) { return (SAOffset)fseek((FILE*)file, (long)offset, from); }

static SAOffset TellFile(SAFile file) { return (SAOffset)ftell((FILE*)file); }

static int FlushFile(SAFile file) { return fflush((FILE*)file); }

static int CloseFile(SAFile file) { return fclose((FILE*)file); }

static void ShowError(const char* message) { fprintf(stderr, "%s\n", message); }

void SASetupDefaultHooks(SAHooks* hooks) {
  hooks->FOpen = OpenFile;
  hooks->FRead = ReadFile;
  hooks->FWrite = WriteFile;
  hooks->FSeek = SeekFile;
  hooks->FTell = TellFile;
  hooks->FFlush = FlushFile;
  hooks->FClose = CloseFile;
  hooks->Remove = remove;
  hooks->Error = ShowError;
  hooks->Atof = atof;
}
