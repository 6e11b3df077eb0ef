#pragma once

// Whether the test runs under Wine, which is not in everything what it stands in for. A test that asks says what Wine
// does otherwise, and expects of Windows what Windows documents.
bool runsUnderWine();
