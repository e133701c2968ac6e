; Is every relation that is symmetric and has a successor for everything reflexive, too? A model of
; two elements says no. A solver that looks for no models of quantified formulas cannot tell.
(set-logic UF)
(declare-sort Thing 0)
(declare-fun related (Thing Thing) Bool)
(assert (forall ((x Thing) (y Thing)) (=> (related x y) (related y x))))
(assert (forall ((x Thing)) (exists ((y Thing)) (related x y))))
(assert (not (forall ((x Thing)) (related x x))))
(check-sat)
