// What the server knows of itself: its file, its type library, and how many
// objects and locks keep it loaded.
#pragma once

#include <windows.h>

#include <string>

namespace brevant::com {

// The full path of Brevant.dll.
std::wstring ModulePath();
// The type library embedded in the DLL, loaded once; null if it cannot load.
ITypeLib* TypeLibrary();
// The type information of the interface or record with identifier `id`.
HRESULT TypeInfoOf(const GUID& id, ITypeInfo** out);

// The record type named `name` of the type library, for arrays of records.
HRESULT RecordInfoOf(const char* name, IRecordInfo** out);

// Live COM objects and server locks; the DLL may unload when both are zero.
void AddServerReference();
void ReleaseServerReference();
bool ServerInUse();

}  // namespace brevant::com
