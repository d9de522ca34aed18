import pytest

import vsglex


@pytest.fixture(scope="session")
def analyzer():
    a = vsglex.Analyzer()
    yield a
    a.close()
