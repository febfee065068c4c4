// Questions about a record, asked in a store that holds nothing else.
#include "host/explain/record_questions.h"

#include "host/problem.h"
#include "narvoassem/narvoassem.h"

namespace narvo
{

namespace
{

void FillStore(CPairStorage& store, const CDefectPair& record)
{
    if (store.InitPairStorage(1) < 1)
        throw HostError({{"memory", "not enough for a record", "more memory"}});
    store.pPair[0] = record;
    store.nPairCount = 1;
    store.CorrectDefGray();
}

} // namespace

std::optional<std::vector<FilterAnswer>> AskFilters(const CConvParam& given, const EnginePath& path,
                                                    const CDefectPair& record)
{
    CPairStorage store;
    store.ConvParam = given;
    if (path.IsAsg())
        store.ConvParam.nFilterMode = 1;
    FillStore(store, record);
    const CConvParam& param = store.ConvParam;
    if (path.IsVertical() && param.bZoneFlagged != 0)
        return std::nullopt;
    std::vector<FilterAnswer> answers;
    CDefectPair judged = store.pPair[0];
    const auto ask = [&](const char* name, int stands)
    {
        answers.push_back({name, stands != 0});
        return stands != 0;
    };
    const bool tested = param.nFilterMode2 == 1 || record.nDefectPair == DefectPair_Single;
    if (path.IsVertical())
    {
        if (param.bFalseFilter == 0 || tested)
            if (ask("margin", store.OneFilter_Vert(&judged)) && param.bFalseFilter != 0)
                param.nFilterMode == 1 ? ask("jump", store.JumpFilter_Vert(&judged))
                                       : ask("cross", store.CrossFilter_Hori(&judged));
        store.Filtering_Vert();
    }
    else
    {
        if (param.bFalseFilter != 0 && tested)
            if (ask("margin", store.MarginFilter_Hori(&judged)))
                param.nFilterMode == 1 ? ask("jump", store.JumpFilter_Hori(&judged))
                                       : ask("cross", store.CrossFilter_Vert(&judged));
        store.Filtering_Hori();
    }
    // The walk of the inspection has the last word.
    const bool stands = store.pPair[0].nDefectType != DefectType_Removed;
    if (answers.empty() ? !stands : answers.back().stands != stands)
        ask("pair", stands ? 1 : 0);
    return answers;
}

bool IsPattern(const CConvParam& param, const EnginePath& path, const CDefectPair& record)
{
    if (!path.IsVertical())
        return false;
    CBlobStorage store;
    store.ConvParam = param;
    FillStore(store, record);
    return store.VeriPitchDPCFiltering(&store.pPair[0]) != 0;
}

} // namespace narvo
