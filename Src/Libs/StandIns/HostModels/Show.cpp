#include "HostModels/Show.h"

#include "HostModels/JsonFile.h"

SShow ReadShow(const QString& file)
{
    const CJsonObjectReader top(file);
    top.AllowOnly({"name"});
    return {file, top.RequiredText("name")};
}
