#include "kit/check.h"
#include "kit/commands.h"

ExitCode RunCheck(const CheckArguments& arguments, Console& console) {
    const CheckResult result = CheckBrand(
        arguments.brand,
        {arguments.package, arguments.online, arguments.download, arguments.noDigest}, console);
    if (arguments.output.json) {
        Json document;
        document["findings"] = FindingsJson(result.findings);
        document["facts"] = FactsJson(result.facts);
        console.PrintJson(JsonText(document));
    } else {
        PrintFacts(result.facts, console);
        PrintFindings(result.findings, console);
    }
    return IsRefused(result.findings, arguments.strict) ? ExitCode::Refused : ExitCode::Done;
}
